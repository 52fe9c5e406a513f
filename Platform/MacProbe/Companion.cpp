#include "MacProbe/Companion.h"

#include "MacProbe/GammaTables.h"
#include "MacProbe/Screens.h"
#include "MacProbe/Watching.h"
#include "Veilpane/Support/DecimalNumber.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace macprobe {

namespace {

using Kind = Command::Kind;

std::string readToEnd(int descriptor) {
    std::string text;
    std::array<char, 512> buffer = {};
    for (;;) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return text;
        }
    }
}

bool endsWell(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) == -1) {
        if (errno != EINTR) {
            return false;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == exitDone;
}

bool writeAll(int descriptor, const std::string& text) {
    return write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

int printScreens(int output) {
    std::string text;
    for (const auto& [display, name] : screenNames()) {
        text += std::to_string(display) + "\n";
    }
    return writeAll(output, text) ? exitDone : exitFailed;
}

int dim(CGDirectDisplayID display) {
    const auto before = readWholeGamma(display);
    if (!before) {
        return exitFailed;
    }
    const GammaTables dimmed = dimmedTables(before->size());
    const bool isSet = setGamma(display, dimmed);
    const auto after = readWholeGamma(display);
    return isSet && after && lookAlike(*after, dimmed) ? exitDone : exitFailed;
}

DisplayIDs idsIn(const std::string& lines) {
    DisplayIDs displays;
    for (std::size_t start = 0; start < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', start), lines.size());
        if (const auto display = veilpane::parseDecimalUInt32(lines.substr(start, end - start))) {
            displays.push_back(*display);
        }
        start = end + 1;
    }
    return displays;
}

} // namespace

CompanionLauncher::~CompanionLauncher() = default;

int runCompanion(const Command& command, int input, int output, const Patience& patience) {
    switch (command.kind) {
    case Kind::watch:
        return watchOver(command.display, input, output, patience);
    case Kind::dim:
        return dim(command.display);
    case Kind::listScreens:
        return printScreens(output);
    default:
        return exitUsage;
    }
}

std::optional<DisplayIDs> screensOfNewProcess(CompanionLauncher& launcher) {
    const auto companion = launcher.start({Kind::listScreens, kCGNullDirectDisplay});
    if (!companion) {
        return std::nullopt;
    }
    const std::string lines = readToEnd(companion->fromIt.get());
    return endsWell(companion->process) ? std::optional(idsIn(lines)) : std::nullopt;
}

bool dimInAnotherProcess(CompanionLauncher& launcher, CGDirectDisplayID display) {
    const auto companion = launcher.start({Kind::dim, display});
    return companion && endsWell(companion->process);
}

std::optional<Watcher> Watcher::start(CompanionLauncher& launcher, CGDirectDisplayID display) {
    auto companion = launcher.start({Kind::watch, display});
    if (!companion) {
        return std::nullopt;
    }
    char ready = 0;
    if (read(companion->fromIt.get(), &ready, 1) != 1 || ready != watcherIsReady) {
        companion->toIt.reset();
        endsWell(companion->process);
        return std::nullopt;
    }
    return Watcher(std::move(*companion));
}

bool Watcher::tellLife() {
    return write(process_.toIt.get(), &signOfLife, 1) == 1;
}

void Watcher::dismiss() {
    if (write(process_.toIt.get(), &dismissal, 1) == 1) {
        endsWell(process_.process);
    }
}

} // namespace macprobe
