#include "Support/SceneFiles.h"

#include "Support/Files.h"

#include <algorithm>
#include <filesystem>

std::vector<SceneFile> sceneFiles() {
    std::vector<SceneFile> files;
    for (const auto& entry : std::filesystem::directory_iterator(SCENES_FOLDER)) {
        if (entry.path().extension() == ".json") {
            files.push_back({entry.path().stem(), contentOf(entry.path())});
        }
    }
    std::ranges::sort(files, {}, &SceneFile::name);
    return files;
}
