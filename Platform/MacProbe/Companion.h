#pragma once

#include "MacProbe/CommandLine.h"
#include "MacProbe/DisplayFacts.h"
#include "MacProbe/Patience.h"
#include "Ownership/FileDescriptor.h"

#include <optional>
#include <sys/types.h>

namespace macprobe {

/// Another process of this program that does one thing beside it, and the two pipes to it.
struct CompanionProcess {
    pid_t process = 0;
    veilpane::FileDescriptor toIt;
    veilpane::FileDescriptor fromIt;
};

/// Starts companions. Each is a process of its own that does not share this one's terminal: neither
/// a closed window nor ^C ends it.
class CompanionLauncher {
public:
    virtual ~CompanionLauncher();
    /// Absent when it cannot be started.
    [[nodiscard]] virtual std::optional<CompanionProcess> start(const Command& command) = 0;
};

/// Starts the executable of this process.
class SameExecutable final : public CompanionLauncher {
public:
    [[nodiscard]] std::optional<CompanionProcess> start(const Command& command) override;
};

/// Does what a companion is started for; its exit status.
int runCompanion(const Command& command, int input, int output, const Patience& patience);

/// The displays that have a screen, as a process sees it that is started now; absent when there can
/// be none.
[[nodiscard]] std::optional<DisplayIDs> screensOfNewProcess(CompanionLauncher& launcher);

/// Lets a process dim the display by its gamma tables and end. Whether it could.
[[nodiscard]] bool dimInAnotherProcess(CompanionLauncher& launcher, CGDirectDisplayID display);

/// The process that brings a display back when this one has not given a sign of life for some time,
/// whatever has become of it.
class Watcher {
public:
    /// Absent when it cannot be started or sees no way to bring the display back.
    [[nodiscard]] static std::optional<Watcher> start(CompanionLauncher& launcher,
                                                      CGDirectDisplayID display);

    /// Whether it is there to be told.
    [[nodiscard]] bool tellLife();
    /// Lets it end without doing anything.
    void dismiss();

private:
    explicit Watcher(CompanionProcess process) : process_(std::move(process)) {}

    CompanionProcess process_;
};

} // namespace macprobe
