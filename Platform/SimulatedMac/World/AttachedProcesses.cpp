#include "SimulatedMac/World/AttachedProcesses.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Field.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace simulated_mac {
namespace {

using namespace std::chrono_literals;
using Processes = std::vector<ProcessIdentity>;

constexpr const char* processesFile = StateStore::processesFile;
constexpr auto timeToQuit = 8s;
constexpr auto pollInterval = 10ms;

void signal(const Processes& processes, int number) {
    for (const ProcessIdentity& process : processes) {
        // Asked again right before, so that no later process with the same number is hit.
        if (isRunning(process)) {
            (void)kill(process.pid, number);
        }
    }
}

[[nodiscard]] bool waitForEnd(const Processes& processes) {
    const auto deadline = std::chrono::steady_clock::now() + timeToQuit;
    while (std::ranges::any_of(processes, isRunning)) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(pollInterval);
    }
    return true;
}

void killTheRest(const Processes& processes) {
    if (!waitForEnd(processes)) {
        signal(processes, SIGKILL);
        (void)waitForEnd(processes);
    }
}

// Nobody waits for what this process prints or for its end.
void detachFromStreams() {
    const int null = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        (void)dup2(null, stream);
    }
}

/// Runs `body` in a copy of this process that is no child of it.
void inDetachedProcess(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child < 0) {
        complain(std::string("fork: ") + std::strerror(errno));
    }
    if (child == 0) {
        (void)setsid();
        if (fork() == 0) {
            detachFromStreams();
            body();
        }
        _exit(0);
    }
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

ProcessIdentity processFrom(const Field& entry) {
    return {static_cast<int>(entry.at("pid").integer(1, INT32_MAX)),
            static_cast<uint64_t>(entry.at("start").integer(0, INT64_MAX))};
}

} // namespace

Processes AttachedProcesses::listed() const {
    Processes processes;
    const auto stored = store_.read(processesFile);
    if (!stored.is_null()) {
        orComplain([&] {
            Field(stored, store_.place(processesFile))
                .at("processes")
                .eachElement([&](const Field& entry) { processes.push_back(processFrom(entry)); });
        });
    }
    std::erase_if(processes, [](const auto& process) { return !isRunning(process); });
    return processes;
}

Processes AttachedProcesses::others() const {
    Processes processes;
    store_.locked([&] { processes = listed(); });
    std::erase_if(processes, [](const auto& process) { return process.pid == getpid(); });
    return processes;
}

void AttachedProcesses::attachThisProcess() {
    if (attachedPid_ == getpid()) {
        return;
    }
    attachedPid_ = getpid();
    store_.locked([this] {
        Processes processes = listed();
        processes.push_back(thisProcess());
        auto stored = nlohmann::json::array();
        for (const ProcessIdentity& process : processes) {
            stored.push_back({{"pid", process.pid}, {"start", process.start}});
        }
        store_.replace(processesFile, {{"processes", stored}});
    });
}

void AttachedProcesses::endOthers() const {
    const Processes processes = others();
    signal(processes, SIGTERM);
    killTheRest(processes);
}

void AttachedProcesses::endAll(const std::function<void()>& afterwards) const {
    Processes processes = others();
    signal(processes, SIGTERM);
    processes.push_back(thisProcess());
    inDetachedProcess([&] {
        killTheRest(processes);
        afterwards();
    });
    (void)raise(SIGTERM);
}

} // namespace simulated_mac
