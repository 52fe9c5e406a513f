#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace simulated_mac {

/// The directory that holds a Mac's state between processes: state.json, defaults.json,
/// calls.jsonl.
///
/// Files are replaced whole, so that a reader never sees half of one and a failed write leaves the
/// old one. Every failure ends the process with a line that names the file.
class StateDirectory {
public:
    /// The arrangement, with the scene that it was made from.
    static constexpr const char* stateFile = "state.json";
    /// The user defaults.
    static constexpr const char* defaultsFile = "defaults.json";

    /// The directory need not exist yet.
    explicit StateDirectory(std::string path) : path_(std::move(path)) {}

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string file(const char* name) const { return path_ + "/" + name; }

    /// Runs `action` while no other process is in one of its own. Creates the directory when it is
    /// missing.
    void locked(const std::function<void()>& action) const;

    [[nodiscard]] bool exists(const char* name) const;
    /// The file's content, an object; null when there is no such file.
    [[nodiscard]] nlohmann::json read(const char* name) const;
    /// The lines of a file of them, without their ends; none when there is no such file. A last
    /// line without its end is left out: the process that wrote it was killed.
    [[nodiscard]] std::vector<std::string> readLines(const char* name) const;
    void replace(const char* name, const nlohmann::json& content) const;
    struct NewContent {
        const char* name;
        nlohmann::json content;
    };
    /// Replaces several files, the last one last, and none before all are written. Nothing is
    /// replaced by what would be too large to be read again.
    void replaceAll(const std::vector<NewContent>& files) const;
    /// Adds whole lines, after a last line without its end is cut off.
    void append(const char* name, const std::string& lines) const;
    /// Ends the process unless lines can be added to the file, or the file can be made.
    void requireAppendable(const char* name) const;
    void remove(const char* name) const;
    /// Differs after every `replace`, whichever process did it.
    [[nodiscard]] std::string versionOf(const char* name) const;

private:
    std::string path_;
};

} // namespace simulated_mac
