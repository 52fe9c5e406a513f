#pragma once

#include <cstdint>
#include <optional>

namespace simulated_mac {

/// When a process started, in the system's own unit; nothing when it has ended, also when its
/// parent has not waited for it yet.
[[nodiscard]] std::optional<uint64_t> startTime(int pid);

} // namespace simulated_mac
