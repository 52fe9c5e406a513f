#pragma once

#include "MacProbe/Answers.h"
#include "MacProbe/Companion.h"
#include "MacProbe/Patience.h"

#include <optional>
#include <string>

namespace macprobe {

/// Why this display cannot be switched to ask questions, in one line; absent when it can.
[[nodiscard]] std::optional<std::string> refusalToSwitch(CGDirectDisplayID display);

/// What will happen to the display, for the person who is to allow it.
[[nodiscard]] std::string announcement(CGDirectDisplayID display);

/// What `askBySwitching` tells of while it goes on.
class SwitchingProgress {
public:
    virtual ~SwitchingProgress();
    /// A step begins; the text says which, for a person.
    virtual void stepBegins(const std::string& step) = 0;
    /// Whether somebody wants it to end early.
    [[nodiscard]] virtual bool isToStop() = 0;
};

struct SwitchingOutcome {
    Answers answers;
    /// Why it ended early, or what is not as it was before; empty for neither.
    std::string problem;
};

/// Switches the display, with a watching process beside this one, and puts everything back.
[[nodiscard]] SwitchingOutcome askBySwitching(CGDirectDisplayID display,
                                              CompanionLauncher& launcher,
                                              SwitchingProgress& progress,
                                              const Patience& patience);

} // namespace macprobe
