#pragma once

#include <cstdint>

namespace simulated_mac {

/// A process, told from a later one with the same number by the time it started.
struct ProcessIdentity {
    int pid = 0;
    uint64_t start = 0; ///< in the system's own unit; 0 where it cannot be told
};

[[nodiscard]] ProcessIdentity thisProcess();
[[nodiscard]] bool isRunning(const ProcessIdentity& process);

} // namespace simulated_mac
