#include "MacProbe/Companion.h"

#include <array>
#include <fcntl.h>
#include <mach-o/dyld.h>
#include <spawn.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace macprobe {

namespace {

using veilpane::FileDescriptor;

struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

// No other process may hold an end: its end of file is a sign.
std::optional<Pipe> newPipe() {
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        return std::nullopt;
    }
    Pipe made{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return made;
}

class SpawnActions {
public:
    SpawnActions(const Pipe& input, const Pipe& output) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_adddup2(&actions_, input.readEnd.get(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, output.writeEnd.get(), STDOUT_FILENO);
    }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

// A session of its own has no terminal whose end or keys could reach it.
class SpawnInNewSession {
public:
    SpawnInNewSession() {
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID);
    }
    SpawnInNewSession(const SpawnInNewSession&) = delete;
    SpawnInNewSession& operator=(const SpawnInNewSession&) = delete;
    ~SpawnInNewSession() { posix_spawnattr_destroy(&attributes_); }

    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

std::string ownExecutable() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    return _NSGetExecutablePath(path.data(), &size) == 0 ? path.c_str() : std::string();
}

const char* wordFor(Command::Kind kind) {
    switch (kind) {
    case Command::Kind::watch:
        return "watch";
    case Command::Kind::dim:
        return "dim";
    default:
        return "screens";
    }
}

std::vector<std::string> wordsOf(const Command& command) {
    std::vector<std::string> words = {"macprobe", "companion", wordFor(command.kind)};
    if (command.display != kCGNullDirectDisplay) {
        words.push_back(std::to_string(command.display));
    }
    return words;
}

std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

std::optional<CompanionProcess> SameExecutable::start(const Command& command) {
    auto input = newPipe();
    auto output = newPipe();
    const std::string executable = ownExecutable();
    if (!input || !output || executable.empty()) {
        return std::nullopt;
    }
    const SpawnActions actions(*input, *output);
    const SpawnInNewSession attributes;
    std::vector<std::string> words = wordsOf(command);
    pid_t process = 0;
    if (posix_spawn(&process, executable.c_str(), actions.get(), attributes.get(),
                    pointersTo(words).data(), environ) != 0) {
        return std::nullopt;
    }
    return CompanionProcess{process, std::move(input->writeEnd), std::move(output->readEnd)};
}

} // namespace macprobe
