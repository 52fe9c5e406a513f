#pragma once

#include "SimulatedMac/World/StateStore.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace simulated_mac {

/// A Mac's state in memory that this process shares with those that it forks. It is gone with the
/// last of them. A program that is started gets a copy of it, in files; what it changes there stays
/// there.
class SharedMemory final : public StateStore {
public:
    /// Ends the process when there is no memory, or no file to lock.
    SharedMemory();
    ~SharedMemory() override;

    [[nodiscard]] std::string place(const char* name) const override { return name; }
    [[nodiscard]] std::string directoryForPrograms() override;

    void locked(const std::function<void()>& action) const override;
    [[nodiscard]] bool exists(const char* name) const override;
    [[nodiscard]] nlohmann::json read(const char* name) const override;
    [[nodiscard]] std::vector<std::string> readLines(const char* name) const override;
    void replaceAll(std::initializer_list<NewContent> entries) const override;
    void append(const char* name, const std::string& lines) const override;
    void requireAppendable(const char* name) const override;
    void remove(const char* name) const override;
    [[nodiscard]] Version versionOf(const char* name) const override;

private:
    struct Entry;
    struct Region;
    [[nodiscard]] Entry& entry(const char* name) const;

    Region* region_;
    int lockFile_;
    mutable int lockDepth_ = 0;
    std::optional<std::filesystem::path> copy_; ///< for programs
    int copyOwner_ = 0;                         ///< the process that made it and removes it
};

} // namespace simulated_mac
