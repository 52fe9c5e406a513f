#include "Veilpane/Inventory/SystemProfiler.h"

#include "Ownership/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace veilpane {

namespace {

constexpr const char* executable = "/usr/sbin/system_profiler";

struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

// Above the standard descriptors, so that redirecting the child's output cannot hit the pipe
// itself, and closed in every other child.
FileDescriptor moveAboveStandard(FileDescriptor descriptor) {
    return FileDescriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

std::optional<Pipe> openPipe() {
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        return std::nullopt;
    }
    Pipe result{moveAboveStandard(FileDescriptor(ends[0])),
                moveAboveStandard(FileDescriptor(ends[1]))};
    return result.readEnd && result.writeEnd ? std::optional(std::move(result)) : std::nullopt;
}

class SpawnFileActions {
public:
    SpawnFileActions() { posix_spawn_file_actions_init(&actions_); }
    SpawnFileActions(const SpawnFileActions&) = delete;
    SpawnFileActions& operator=(const SpawnFileActions&) = delete;
    ~SpawnFileActions() { posix_spawn_file_actions_destroy(&actions_); }

    void redirect(int descriptor, const FileDescriptor& target) {
        posix_spawn_file_actions_adddup2(&actions_, target.get(), descriptor);
    }
    void discard(int descriptor) {
        posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_WRONLY, 0);
    }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

// The child starts with no signal blocked, and SIGPIPE, which this program ignores, ends it as
// usual. What the user had ignored from the beginning, as nohup does, stays ignored. Of descriptors
// it gets the standard ones alone from us: all that this program opens is closed on exec.
class SpawnAttributes {
public:
    SpawnAttributes() {
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigaddset(&signals, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }

    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

std::optional<pid_t> launch(const FileDescriptor& standardOutput) {
    SpawnFileActions actions;
    actions.redirect(STDOUT_FILENO, standardOutput);
    actions.discard(STDERR_FILENO);
    const SpawnAttributes attributes;
    std::string name = executable;
    std::string dataType = "SPDisplaysDataType";
    std::string format = "-json";
    const std::array<char*, 4> arguments = {name.data(), dataType.data(), format.data(), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, executable, actions.get(), attributes.get(), arguments.data(),
                    environ) != 0) {
        return std::nullopt;
    }
    return child;
}

std::string readToEnd(const FileDescriptor& descriptor) {
    std::string output;
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t count = read(descriptor.get(), buffer.data(), buffer.size());
        if (count > 0) {
            output.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return output;
        }
    }
}

void waitForExit(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
}

} // namespace

std::optional<std::string> runSystemProfiler() {
    auto pipe = openPipe();
    if (!pipe) {
        return std::nullopt;
    }
    const auto child = launch(pipe->writeEnd);
    // The reading ends only when no process holds the write end any more.
    pipe->writeEnd.reset();
    if (!child) {
        return std::nullopt;
    }
    std::string output = readToEnd(pipe->readEnd);
    waitForExit(*child);
    return output;
}

} // namespace veilpane
