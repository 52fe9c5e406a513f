#include "Safety/Rules.h"

#include <algorithm>

namespace safety {
namespace {

std::uint32_t displayOf(const LoggedCall& call, std::size_t place) {
    return call.args.at(place).get<std::uint32_t>();
}

bool isDisable(const LoggedCall& call) {
    return call.call == "SLSConfigureDisplayEnabled" && call.args.at(2) == false;
}

/// The display that the call is to take the picture from, if it is such a call.
std::optional<std::uint32_t> victimOf(const LoggedCall& call) {
    if (isDisable(call)) {
        return displayOf(call, 1);
    }
    if (call.call == "CGConfigureDisplayMirrorOfDisplay" && displayOf(call, 2) != 0) {
        return displayOf(call, 1);
    }
    if (call.call == "CGSetDisplayTransferByTable" && call.notes.value("gamma", "") == "zero") {
        return displayOf(call, 0);
    }
    return std::nullopt;
}

std::string named(std::uint32_t id) {
    return "display " + std::to_string(id);
}

bool isThere(const Desk& desk, std::uint32_t id) {
    const auto found = desk.displays.find(id);
    return found != desk.displays.end() && found->second.connected;
}

// Which display is main, that a mirror's master has gone, and what a closed lid means now that
// other displays are on or off, is the window server's decision.
void forgetWhatTheMacDecides(Sight& sight) {
    sight.main = sight.asleep = sight.lit = false;
    sight.mirrors = 0;
}

// The only monitor that speaks DDC is taken for that of any display, so also for one that is not
// there: a known limit.
void forgetMonitor(Sight& sight) {
    sight.standby = false;
    sight.brightness.reset();
}

bool looksTheSame(Sight before, Sight after, const Switching& done) {
    const bool readable = !before.tables[0].empty() && !after.tables[0].empty();
    for (Sight* const sight : {&before, &after}) {
        forgetWhatTheMacDecides(*sight);
        if (!isThere(done.before, done.id)) {
            forgetMonitor(*sight);
        }
        if (done.resetAllTables || !readable) {
            sight->tables = {};
        }
    }
    return before == after;
}

std::string changedOthers(const Switching& done) {
    for (const auto& [id, before] : done.before.displays) {
        if (id != done.id && !looksTheSame(before, done.after.at(id), done)) {
            return named(id) + " is changed, too";
        }
    }
    return {};
}

bool isOn(const Sight& sight, const Switching& done) {
    const bool isDisconnected = !sight.enabled && done.outcome.method == "断开显示器（SLS）";
    return !isDisconnected && (!sight.isBlack() || done.blackByAnother);
}

// A BlackOut that counts already is not begun again, whatever has become of it.
bool isOff(const Sight& sight, const Switching& done) {
    const bool canBeBlack = !sight.tables[0].empty();
    return !sight.enabled || sight.standby || sight.isBlack() || !canBeBlack ||
           done.wasUnderBlackout;
}

// Two limits are known: nobody looks whether colour tables were set, and without the list of what
// is online a remembered display counts as off.
std::string missingEffect(const Switching& done) {
    const bool countsAsOff = !done.on && done.onlineUnknown && done.before.stored.contains(done.id);
    if (!done.outcome.success || !isThere(done.after, done.id) || done.tablesRefused ||
        countsAsOff) {
        return {};
    }
    const Sight& sight = done.after.at(done.id);
    const bool holds = done.on ? isOn(sight, done) : isOff(sight, done);
    return holds ? "" : "success, and the display is not " + std::string(done.on ? "on" : "off");
}

// Whoever has calibrated a display gets its own tables back, each for its colour.
std::string otherColours(const Switching& done) {
    if (!done.on || !done.outcome.success || !done.wasUnderBlackout || done.resetAllTables ||
        done.tablesRefused || done.tablesBeforeBlackout[0].empty() ||
        !isThere(done.after, done.id)) {
        return {};
    }
    const Tables& tables = done.after.at(done.id).tables;
    return tables[0].empty() || tables == done.tablesBeforeBlackout
               ? ""
               : "the display comes back in other colours";
}

std::string touchedInSpiteOfRefusal(const Switching& done) {
    const bool refused =
        !done.outcome.success && done.outcome.message.find("失败") == std::string::npos;
    const bool same =
        done.before.displays == done.after.displays && done.before.stored == done.after.stored;
    return refused && !same ? "refused, and yet something has changed" : "";
}

std::string darkness(const Switching& done) {
    if (isDarkened(done.before, done.after, done.id)) {
        return "no display is lit any more";
    }
    for (const auto& [id, before] : done.before.displays) {
        const bool knownLimit =
            !isThere(done.before, done.id) || (id == done.id && done.blackByAnother);
        if (before.main && before.lit && !done.after.at(id).lit && !knownLimit) {
            return "the main display is dark";
        }
    }
    return {};
}

// Of the displays that others have switched meanwhile this process knows nothing.
std::string badMemory(const Switching& done) {
    if (!isThere(done.after, done.id)) {
        return {};
    }
    const bool isStored = done.after.stored.contains(done.id);
    const bool isEnabled = done.after.at(done.id).enabled;
    if (isStored && !done.before.stored.contains(done.id) && isEnabled) {
        return "the display is remembered and on";
    }
    const bool wentOff = done.before.at(done.id).enabled && !isEnabled;
    return wentOff && !isStored ? "the display is off and not remembered" : "";
}

} // namespace

std::string brokenRule(const Calls& calls) {
    std::set<std::uint32_t> mains;
    std::size_t active = 0;
    for (const LoggedCall& call : calls) {
        if (call.call == "CGDisplayIsMain") {
            call.result != 0 ? (void)mains.insert(displayOf(call, 0))
                             : (void)mains.erase(displayOf(call, 0));
        } else if (call.call == "CGGetActiveDisplayList") {
            // A call that says nothing of its count has left the caller with any number.
            active = call.result == 0 ? call.notes.value("count", std::size_t{UINT32_MAX}) : 0;
        }
        if (const auto victim = victimOf(call); victim && mains.contains(*victim)) {
            return call.call + " against the main display";
        }
        if (isDisable(call) && active < 2) {
            return "a disconnect with fewer than two active displays";
        }
    }
    return {};
}

std::string brokenRule(const Switching& done) {
    if (std::string broken = touchedInSpiteOfRefusal(done); !broken.empty() && !done.misled) {
        return broken;
    }
    if (done.misled) {
        return {};
    }
    for (const auto rule : {darkness, changedOthers, missingEffect, otherColours, badMemory}) {
        if (std::string broken = rule(done); !broken.empty()) {
            return broken;
        }
    }
    return {};
}

// Two limits are known: the only monitor that speaks DDC is taken for that of a display that is not
// there, and a display that nobody can see counts as one that remains.
bool isDarkened(const Desk& before, const Desk& after, std::uint32_t id) {
    const bool anotherCounts = std::ranges::any_of(before.displays, [id](const auto& entry) {
        const Sight& sight = entry.second;
        return entry.first != id && sight.connected && sight.enabled && !sight.lit;
    });
    return before.litDisplays() > 0 && after.litDisplays() == 0 && !anotherCounts &&
           isThere(before, id);
}

} // namespace safety
