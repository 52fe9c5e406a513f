#pragma once

#include "SimulatedMac/World/StateStore.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace simulated_mac {

/// One line of the call log.
struct LoggedCall {
    int pid = 0;
    std::string call;
    nlohmann::json args;
    nlohmann::json result;
    nlohmann::json notes;
};

/// The calls of platform functions, of all processes on one Mac, in its store. Lines are
/// written many at a time. A log that cannot be read or written ends the process.
class CallLog {
public:
    explicit CallLog(const StateStore& store) : store_(store) {}

    /// Adds a call of this process, whatever its `pid` says.
    void add(const LoggedCall& call);
    /// Writes what has been added.
    void flush();
    /// Ends the process unless calls can be written.
    void requireWritable() const;
    [[nodiscard]] std::vector<LoggedCall> read();
    void clear();

private:
    const StateStore& store_;
    std::string pending_;
};

} // namespace simulated_mac
