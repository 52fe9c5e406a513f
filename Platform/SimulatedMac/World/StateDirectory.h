#pragma once

#include "SimulatedMac/World/StateStore.h"

namespace simulated_mac {

/// The directory that holds a Mac's state for programs that are started one by one. Each entry is a
/// file of its name.
///
/// Files are replaced whole, so that a reader never sees half of one and a failed write leaves the
/// old one. Every failure ends the process with a line that names the file.
class StateDirectory final : public StateStore {
public:
    /// The directory need not exist yet.
    explicit StateDirectory(std::string path) : path_(std::move(path)) {}

    [[nodiscard]] std::string place(const char* name) const override { return path_ + "/" + name; }
    [[nodiscard]] std::string directoryForPrograms() override { return path_; }

    /// Creates the directory when it is missing.
    void locked(const std::function<void()>& action) const override;
    [[nodiscard]] bool exists(const char* name) const override;
    [[nodiscard]] nlohmann::json read(const char* name) const override;
    [[nodiscard]] std::vector<std::string> readLines(const char* name) const override;
    /// Nothing is replaced by what would be too large to be read again.
    void replaceAll(std::initializer_list<NewContent> entries) const override;
    void append(const char* name, const std::string& lines) const override;
    void requireAppendable(const char* name) const override;
    void remove(const char* name) const override;
    [[nodiscard]] Version versionOf(const char* name) const override;

private:
    std::string path_;
};

} // namespace simulated_mac
