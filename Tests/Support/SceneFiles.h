#pragma once

// The scenes in Tests/Scenes, which were recorded on Macs or written after some.

#include <string>
#include <vector>

struct SceneFile {
    std::string name; ///< without its folder and ending
    std::string text;
};

/// All of them, in the order of their names. Throws std::filesystem::filesystem_error without the
/// folder.
std::vector<SceneFile> sceneFiles();
