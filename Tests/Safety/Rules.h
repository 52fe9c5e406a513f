#pragma once

#include "Safety/Desk.h"
#include "Safety/Promise.h"

#include <optional>
#include <string>

namespace safety {

/// One power operation that was carried out.
struct Switching {
    bool on = false;
    std::uint32_t id = 0;
    Outcome outcome;
    Desk before, after;
    /// An answer was wrong, a call took effect and said otherwise, or the Mac changed meanwhile:
    /// who believes what it is told cannot be blamed for the picture.
    bool misled = false;
    /// This process had the display under BlackOut before.
    bool wasUnderBlackout = false;
    /// It was black already, by another program, when this process's BlackOut began or would have.
    bool blackByAnother = false;
    /// The window server did not tell which displays are online: a remembered one counts as off.
    bool onlineUnknown = false;
    /// The window server refused to set colour tables, which no outcome tells.
    bool tablesRefused = false;
    /// The one way back from tables that could not be read resets those of all displays.
    bool resetAllTables = false;
    /// What it showed when this process's BlackOut began; empty when that is not known.
    Tables tablesBeforeBlackout;
};

/// The rules that hold for every operation whatever it was answered; empty, or the one that is
/// broken, in words.
[[nodiscard]] std::string brokenRule(const Calls& calls);

/// The rules about a power operation's effect, apart from what the known limits tell of.
[[nodiscard]] std::string brokenRule(const Switching& done);

/// Whether the last picture went, and went by an operation on this display.
[[nodiscard]] bool isDarkened(const Desk& before, const Desk& after, std::uint32_t id);

} // namespace safety
