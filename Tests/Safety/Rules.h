#pragma once

#include "Safety/Desk.h"
#include "Safety/Promise.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace safety {

/// A time in which the program alone acted.
struct Stretch {
    Desk before, after;
};

/// What others did to the Mac while an operation went on, once or several times.
struct Meanwhile {
    std::size_t calls = 0;           ///< that the operation had made by the last time
    Desk before, after;              ///< the first time and the last one
    std::vector<Stretch> between;    ///< one time and the next
    std::set<std::uint32_t> touched; ///< the displays that were changed, came or have gone
};

/// The Mac before and after an operation.
struct Passage {
    Desk before, after;
    bool wasFaulty = false; ///< a call answered otherwise than it should
    std::optional<Meanwhile> meanwhile;
    Calls calls;
};

/// One power operation that was carried out.
struct Switching : Passage {
    bool on = false;
    std::uint32_t id = 0;
    Outcome outcome;
    /// This process remembered before that it had disconnected the display.
    bool wasRemembered = false;
    /// This process had the display under BlackOut before.
    bool wasUnderBlackout = false;
    /// It was black already, by another program, when this process's BlackOut began or would have.
    bool blackByAnother = false;
    /// What it showed when this process's BlackOut began; empty when that is not known.
    Tables tablesBeforeBlackout;
    /// The displays to whose monitors the Mac's buses led before; none for a bus that leads
    /// nowhere.
    std::vector<std::optional<std::uint32_t>> busDisplays;
    /// The registry told which framebuffer is the display's.
    bool wasNamed = true;
    /// The program could see which displays were off; else it forgets them: a known limit.
    bool seesAll = true;
};

/// The only bus of a Mac is taken for that of any display that is not there, or has no name in the
/// registry: a known limit.
[[nodiscard]] bool mayReachAnother(const Switching& done);

/// Adds a line that is not empty and not there yet.
void addLine(std::string& lines, const std::string& line);

/// The rules that hold for every operation whatever it was answered; empty, or the one that is
/// broken, in words. `target` is the display that it switched; 0 for none, or for several.
[[nodiscard]] std::string brokenRule(const Calls& calls, std::uint32_t target);

/// The rules about a power operation's effect, apart from what the known limits tell of: a line for
/// each that is broken.
[[nodiscard]] std::string brokenRule(const Switching& done);

/// Whether the one way back from tables that could not be read was taken, which resets those of all
/// displays.
[[nodiscard]] bool resetsAllTables(const Passage& done);

/// Looking changes nothing.
[[nodiscard]] std::string brokenByLooking(const Passage& done);

/// Letting go of everything at the end: what was under BlackOut shows its picture, nothing else is
/// touched.
[[nodiscard]] std::string brokenByLettingGo(const Passage& done,
                                            const std::set<std::uint32_t>& blackFromBefore,
                                            const std::set<std::uint32_t>& underBlackout,
                                            const std::map<std::uint32_t, Tables>& tablesBefore);

/// The picture does not go by the program's doing while others interfere.
[[nodiscard]] std::string brokenByDarkness(const Passage& done);

/// Off and then on, without anything going wrong at the second, gives the desk back as it was,
/// apart from what the known limits tell of.
[[nodiscard]] std::string brokenByOffAndOn(const Switching& off, const Switching& on);

/// A program that is ended within an operation on this display leaves a picture; what it has
/// disconnected is remembered, unless it had no time for that, and nothing else is.
struct End {
    Desk before, after;
    std::uint32_t id = 0;
    bool hadTime = true;
    bool mayReachAnother = false; ///< as for a switching
    bool seesAll = true;          ///< likewise
};
[[nodiscard]] std::string brokenByAnEnd(const End& end);

} // namespace safety
