#include "MacProbe/ForkedLauncher.h"

#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace {

using simulated_mac::Mac;

std::array<int, 2> newPipe() {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return ends;
}

void forgetPlans() {
    Mac& mac = Mac::current();
    mac.listen({});
    mac.clearFaults();
    mac.clearEvents();
}

} // namespace

std::optional<macprobe::CompanionProcess> ForkedLauncher::start(const macprobe::Command& command) {
    const auto toIt = newPipe();
    const auto fromIt = newPipe();
    const pid_t process = fork();
    if (process == 0) {
        close(toIt[1]);
        close(fromIt[0]);
        setsid();
        forgetPlans();
        const int status = macprobe::runCompanion(command, toIt[0], fromIt[1], patience_);
        Mac::shutDown();
        _exit(status);
    }
    close(toIt[0]);
    close(fromIt[1]);
    return macprobe::CompanionProcess{process, veilpane::FileDescriptor(toIt[1]),
                                      veilpane::FileDescriptor(fromIt[0])};
}
