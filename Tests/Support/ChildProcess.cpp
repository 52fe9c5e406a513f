#include "Support/ChildProcess.h"

#include "SimulatedMac/World/Mac.h"

#include <array>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

ChildOutcome inChildProcess(const std::function<std::string()>& body) {
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        const std::string message = body();
        simulated_mac::Mac::shutDown();
        const bool told =
            write(ends[1], message.data(), message.size()) == static_cast<ssize_t>(message.size());
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    ChildOutcome outcome;
    std::array<char, 512> buffer = {};
    for (ssize_t count = 0; (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
        outcome.message.append(buffer.data(), static_cast<std::size_t>(count));
    }
    close(ends[0]);
    waitpid(child, &outcome.status, 0);
    return outcome;
}
