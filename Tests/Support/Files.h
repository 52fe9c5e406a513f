#pragma once

// What tests do with files: reading one whole, and a folder to put them in.

#include <filesystem>
#include <string>

/// The file's bytes; empty for one that cannot be read.
std::string contentOf(const std::filesystem::path& file);

/// Writes a program for the shell, which its owner can start.
void writeScript(const std::filesystem::path& file, const std::string& commands);

/// A folder of its own, removed with all that is in it when the object goes.
class TemporaryDirectory {
public:
    /// Throws std::runtime_error when none can be made.
    TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};
