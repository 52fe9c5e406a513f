#include "SimulatedMac/World/ProcessStart.h"

#include <array>
#include <sys/sysctl.h>

namespace simulated_mac {

std::optional<uint64_t> startTime(int pid) {
    std::array<int, 4> name = {CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
    kinfo_proc process = {};
    std::size_t size = sizeof process;
    // Without such a process the call succeeds with nothing.
    if (sysctl(name.data(), name.size(), &process, &size, nullptr, 0) != 0 || size == 0 ||
        process.kp_proc.p_stat == SZOMB) {
        return std::nullopt;
    }
    const timeval start = process.kp_proc.p_starttime;
    return static_cast<uint64_t>(start.tv_sec) * 1'000'000 + static_cast<uint64_t>(start.tv_usec);
}

} // namespace simulated_mac
