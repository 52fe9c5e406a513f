#include "Support/ChildProcess.h"

#include "SimulatedMac/World/Mac.h"

#include <array>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::array<int, 2> newPipe() {
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    return ends;
}

[[noreturn]] void runWhenTold(const std::function<std::string()>& body, int start, int answer) {
    char told = 0;
    if (read(start, &told, 1) != 1) {
        _exit(0);
    }
    const std::string message = body();
    simulated_mac::Mac::shutDown();
    const auto written = write(answer, message.data(), message.size());
    _exit(written == static_cast<ssize_t>(message.size()) ? 0 : 1);
}

} // namespace

WaitingChild::WaitingChild(const std::function<std::string()>& body) {
    const auto start = newPipe();
    const auto answer = newPipe();
    process_ = fork();
    if (process_ < 0) {
        throw std::runtime_error("no process");
    }
    if (process_ == 0) {
        close(start[1]);
        close(answer[0]);
        runWhenTold(body, start[0], answer[1]);
    }
    close(start[0]);
    close(answer[1]);
    start_ = start[1];
    answer_ = answer[0];
}

WaitingChild::~WaitingChild() {
    close(start_);
    close(answer_);
    waitpid(process_, nullptr, 0);
}

ChildOutcome WaitingChild::go() {
    ChildOutcome outcome;
    if (write(start_, "!", 1) != 1) {
        throw std::runtime_error("the process has ended");
    }
    std::array<char, 512> buffer = {};
    for (ssize_t count = 0; (count = read(answer_, buffer.data(), buffer.size())) > 0;) {
        outcome.message.append(buffer.data(), static_cast<std::size_t>(count));
    }
    waitpid(process_, &outcome.status, 0);
    return outcome;
}

ChildOutcome inChildProcess(const std::function<std::string()>& body) {
    return WaitingChild(body).go();
}
