#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

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

    /// Creates the directory when it is missing.
    explicit StateDirectory(std::string path);

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string file(const char* name) const { return path_ + "/" + name; }

    /// Runs `action` while no other process is in one of its own.
    void locked(const std::function<void()>& action) const;

    [[nodiscard]] bool exists(const char* name) const;
    /// The file's content, null when there is no such file.
    [[nodiscard]] nlohmann::json read(const char* name) const;
    [[nodiscard]] std::string readText(const char* name) const;
    void replace(const char* name, const nlohmann::json& content) const;
    void append(const char* name, const std::string& lines) const;
    void remove(const char* name) const;
    /// Differs after every `replace`, whichever process did it.
    [[nodiscard]] std::string versionOf(const char* name) const;

private:
    std::string path_;
};

} // namespace simulated_mac
