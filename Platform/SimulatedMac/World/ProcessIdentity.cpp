#include "SimulatedMac/World/ProcessIdentity.h"

#include "SimulatedMac/World/ProcessStart.h"

#include <unistd.h>

namespace simulated_mac {

ProcessIdentity thisProcess() {
    return {getpid(), startTime(getpid()).value_or(0)};
}

bool isRunning(const ProcessIdentity& process) {
    const auto start = startTime(process.pid);
    return start && *start == process.start;
}

} // namespace simulated_mac
