#include "SimulatedMac/World/ProcessIdentity.h"

#include "SimulatedMac/World/ProcessStart.h"

#include <optional>
#include <pthread.h>
#include <unistd.h>

namespace simulated_mac {
namespace {

// Asked for at every change of the Mac, and the system tells it with some effort.
thread_local std::optional<ProcessIdentity> known;

void forgetInChildren() {
    [[maybe_unused]] static const int registered =
        pthread_atfork(nullptr, nullptr, [] { known.reset(); });
}

} // namespace

ProcessIdentity thisProcess() {
    if (!known) {
        forgetInChildren();
        known = {getpid(), startTime(getpid()).value_or(0)};
    }
    return *known;
}

bool isRunning(const ProcessIdentity& process) {
    if (process.pid == thisProcess().pid) {
        return process.start == thisProcess().start;
    }
    const auto start = startTime(process.pid);
    return start && *start == process.start;
}

} // namespace simulated_mac
