#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace simulated_mac {

/// Where a Mac's state is kept between calls, for all processes that run on it, as named entries:
/// JSON objects, and the call log, which is lines.
class StateStore {
public:
    /// The arrangement, with the scene that it was made from.
    static constexpr const char* stateFile = "state.json";
    /// The user defaults.
    static constexpr const char* defaultsFile = "defaults.json";
    static constexpr const char* processesFile = "processes.json";
    static constexpr const char* logFile = "calls.jsonl";

    StateStore() = default;
    StateStore(const StateStore&) = delete;
    StateStore& operator=(const StateStore&) = delete;
    virtual ~StateStore() = default;

    /// The entry as messages name it.
    [[nodiscard]] virtual std::string place(const char* name) const = 0;
    /// A directory in which a program that is started now finds this Mac.
    [[nodiscard]] virtual std::string directoryForPrograms() = 0;

    /// Runs `action` while no other process is in one of its own.
    virtual void locked(const std::function<void()>& action) const = 0;

    [[nodiscard]] virtual bool exists(const char* name) const = 0;
    /// An object; null when there is no such entry.
    [[nodiscard]] virtual nlohmann::json read(const char* name) const = 0;
    /// Lines without their ends; none when there is no such entry. A last line without its end is
    /// left out: the process that wrote it was killed.
    [[nodiscard]] virtual std::vector<std::string> readLines(const char* name) const = 0;

    void replace(const char* name, const nlohmann::json& content) const {
        replaceAll({{name, content}});
    }
    struct NewContent {
        const char* name;
        const nlohmann::json& content; ///< for the time of the call
    };
    /// Replaces several entries, the last one last.
    virtual void replaceAll(std::initializer_list<NewContent> entries) const = 0;
    /// Adds whole lines, after a last line without its end is cut off.
    virtual void append(const char* name, const std::string& lines) const = 0;
    /// Ends the process unless lines can be added to the entry, or the entry can be made.
    virtual void requireAppendable(const char* name) const = 0;
    virtual void remove(const char* name) const = 0;

    using Version = std::array<std::uint64_t, 3>;
    /// Differs after every replacement, whichever process did it.
    [[nodiscard]] virtual Version versionOf(const char* name) const = 0;
};

} // namespace simulated_mac
