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

bool isStandby(const LoggedCall& call) {
    return call.call == "IOI2CSendRequest" &&
           call.notes.value("bytes", "") == messageBytes(0x0C, 5);
}

/// The display that the call is to take the picture from, if it is such a call. A message does not
/// tell for which display it is meant; `target` is the one that is switched.
std::optional<std::uint32_t> victimOf(const LoggedCall& call, std::uint32_t target) {
    if (isStandby(call)) {
        return target;
    }
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

bool isMade(const Calls& calls, const std::string& name) {
    return std::ranges::find(calls, name, &LoggedCall::call) != calls.end();
}

bool isRefused(const Calls& calls, const std::string& name) {
    return std::ranges::any_of(
        calls, [&](const LoggedCall& call) { return call.call == name && call.result != 0; });
}

std::string named(std::uint32_t id) {
    return "display " + std::to_string(id);
}

const Sight* find(const Desk& desk, std::uint32_t id) {
    const auto found = desk.displays.find(id);
    return found == desk.displays.end() ? nullptr : &found->second;
}

bool isThere(const Desk& desk, std::uint32_t id) {
    const Sight* const sight = find(desk, id);
    return sight != nullptr && sight->connected;
}

/// A stretch of a passage.
struct Part {
    const Desk& before;
    const Desk& after;
    bool isFirst = true; ///< nobody has interfered yet
};

std::vector<Part> partsOf(const Passage& done) {
    if (!done.meanwhile) {
        return {{done.before, done.after}};
    }
    std::vector<Part> parts = {{done.before, done.meanwhile->before}};
    for (const Stretch& stretch : done.meanwhile->between) {
        parts.push_back({stretch.before, stretch.after, false});
    }
    parts.push_back({done.meanwhile->after, done.after, false});
    return parts;
}

bool isTouched(const Part& stretch) {
    return stretch.before.displays != stretch.after.displays ||
           stretch.before.stored != stretch.after.stored;
}

// In the parts themselves nobody but the program acts, and it plugs and unplugs nothing.
bool hasMoved(const Switching& done) {
    return done.meanwhile && std::ranges::any_of(done.meanwhile->touched, [&](std::uint32_t id) {
               return std::ranges::any_of(partsOf(done), [&](const Part& part) {
                   return isThere(part.before, id) != isThere(done.before, id);
               });
           });
}

// Which monitor is a display's cannot be told while displays come and go, nor of one that is not
// there.
bool isReplugged(const Switching& done) {
    return !isThere(done.before, done.id) || !isThere(done.after, done.id) || hasMoved(done);
}

bool isThereThroughout(const Switching& done, std::uint32_t id) {
    return std::ranges::all_of(partsOf(done), [id](const Part& part) {
        return isThere(part.before, id) && isThere(part.after, id);
    });
}

// A search of the registry sees the others only now and then.
std::size_t steadyBuses(const Switching& done) {
    return static_cast<std::size_t>(std::ranges::count_if(
        done.busDisplays, [&](const auto& id) { return !id || isThereThroughout(done, *id); }));
}

void forgetMonitor(Sight& sight) {
    sight.standby = sight.lit = false;
    sight.brightness.reset();
}

// Nobody looks whether colour tables were set: a known limit.
bool tablesAreRefused(const Passage& done) {
    return isRefused(done.calls, "CGSetDisplayTransferByTable");
}

// A display that is switched while others have made it the main one, or mirror it there, leaves
// that to another, or takes it back, which its mirrors and a closed lid follow.
void forgetArrangement(Sight& sight) {
    sight.main = sight.asleep = sight.lit = false;
    sight.mirrors = 0;
}

bool mayChangeMain(const Part& stretch, std::uint32_t id) {
    const Sight* const before = find(stretch.before, id);
    const Sight* const after = find(stretch.after, id);
    return before != nullptr && after != nullptr &&
           (before->main != after->main || before->mirrors != 0);
}

// A display that comes back may be what the master of others is to mirror again; macOS makes
// another arrangement of them then, which may have another main display.
bool followsItsMaster(const Part& stretch, std::uint32_t id, std::uint32_t switched) {
    const Sight* const target = find(stretch.before, switched);
    const std::uint32_t ownMaster = stretch.before.at(id).mirrors;
    const Sight* const master = find(stretch.after, ownMaster != 0 ? ownMaster : id);
    return target != nullptr && !target->online && master != nullptr && master->mirrors == switched;
}

std::string change(const Part& stretch, std::uint32_t id, const Switching& done) {
    Sight before = stretch.before.at(id);
    Sight after = stretch.after.at(id);
    const bool readable = !before.tables[0].empty() && !after.tables[0].empty();
    // Without their master macOS arranges all others as it last knew them.
    const bool isRearranged = lostMaster(stretch.before, stretch.after, done.id);
    if (isRearranged) {
        before.main = after.main = false;
    }
    // What mirrors it loses it with it, or follows it to its own master.
    if (isRearranged || before.mirrors == done.id || after.mirrors == done.id) {
        before.mirrors = after.mirrors = 0;
    }
    for (Sight* const sight : {&before, &after}) {
        if (mayChangeMain(stretch, done.id) || followsItsMaster(stretch, id, done.id)) {
            forgetArrangement(*sight);
        }
        if (mayReachAnother(done)) {
            forgetMonitor(*sight);
        }
        if (resetsAllTables(done) || !readable) {
            sight->tables = {};
            sight->lit = false;
        }
    }
    return differenceOf(before, after);
}

// A display that has got another ID meanwhile is still the one.
bool isTarget(const Switching& done, std::uint32_t id) {
    return id == done.id || (done.meanwhile && find(done.meanwhile->after, done.id) == nullptr &&
                             find(done.meanwhile->before, id) == nullptr);
}

std::string changedOthers(const Switching& done) {
    for (const Part& stretch : partsOf(done)) {
        for (const auto& [id, sight] : stretch.before.displays) {
            const std::string difference = change(stretch, id, done);
            if (!isTarget(done, id) && !difference.empty()) {
                return named(id) + " is changed, too: " + difference;
            }
        }
    }
    return {};
}

bool isOn(const Sight& sight, const Switching& done) {
    const bool isDisconnected = !sight.enabled && done.outcome.method == disconnectTitle;
    return !isDisconnected && (!sight.isBlack() || done.blackByAnother || tablesAreRefused(done));
}

// A BlackOut that counts already is not begun again, whatever has become of it.
bool isOff(const Sight& sight, const Switching& done) {
    // A remembered display behind a closed lid counts as off, as it is in no list of what is on.
    if (done.outcome.method == disconnectTitle) {
        return !sight.enabled || (sight.asleep && done.wasRemembered);
    }
    // Success means that the message was sent; a monitor that was pulled out meanwhile has lost it,
    // and the only one is taken for that of a display that has none.
    if (done.outcome.method == ddcTitle) {
        return sight.standby || isReplugged(done) || (!sight.brightness && mayReachAnother(done));
    }
    const bool canBeBlack = !sight.tables[0].empty();
    return sight.isBlack() || !canBeBlack || done.wasUnderBlackout;
}

bool isSwitchedByOthers(const Switching& done) {
    return done.meanwhile && done.meanwhile->touched.contains(done.id);
}

// Without the list of what is online a remembered display counts as off: a known limit.
bool countsAsOff(const Switching& done) {
    return !done.on && done.wasRemembered && isRefused(done.calls, "CGGetOnlineDisplayList");
}

std::string missingEffect(const Switching& done) {
    const bool areRefused =
        !done.on && tablesAreRefused(done) && done.outcome.method != disconnectTitle;
    if (!done.outcome.success || !isThere(done.after, done.id) || areRefused || countsAsOff(done) ||
        isSwitchedByOthers(done)) {
        return {};
    }
    const Sight& sight = done.after.at(done.id);
    const bool holds = done.on ? isOn(sight, done) : isOff(sight, done);
    return holds ? "" : "success, and the display is not " + std::string(done.on ? "on" : "off");
}

// Whoever has calibrated a display gets its own tables back, each for its colour.
std::string otherColours(const Switching& done) {
    if (!done.on || !done.outcome.success || !done.wasUnderBlackout || resetsAllTables(done) ||
        tablesAreRefused(done) || done.tablesBeforeBlackout[0].empty() ||
        !isThere(done.after, done.id) || isSwitchedByOthers(done)) {
        return {};
    }
    const Tables& tables = done.after.at(done.id).tables;
    return tables[0].empty() || areAlike(tables, done.tablesBeforeBlackout)
               ? ""
               : "the display comes back in other colours";
}

bool hasLitBeside(std::uint32_t id, const Desk& desk) {
    return std::ranges::any_of(
        desk.displays, [id](const auto& entry) { return entry.first != id && entry.second.lit; });
}

std::string touchedInSpiteOfRefusal(const Switching& done) {
    const bool refused =
        !done.outcome.success && done.outcome.message.find("失败") == std::string::npos;
    return refused && std::ranges::any_of(partsOf(done), isTouched)
               ? "refused, and yet something has changed"
               : "";
}

// Which display is the main one and how many are active is looked at before a display is switched
// off and not again: a known limit for what others do afterwards, as long as they leave no other
// display lit.
bool hasLookedTooEarly(const Switching& done, const Part& stretch) {
    if (done.on || stretch.isFirst || hasLitBeside(done.id, stretch.before)) {
        return false;
    }
    const auto counted = std::ranges::find(done.calls, "CGGetActiveDisplayList", &LoggedCall::call);
    const auto calls = static_cast<std::size_t>(counted - done.calls.begin());
    return done.outcome.method != disconnectTitle || calls < done.meanwhile->calls;
}

// Others may have made the display the main one since it was asked whether it is.
bool hasBecomeMain(const Switching& done, const Part& stretch) {
    const Sight* const asked = done.meanwhile ? find(done.meanwhile->before, done.id) : nullptr;
    return !done.on && (asked == nullptr || !asked->main) && done.meanwhile && !stretch.isFirst;
}

std::string darkMain(const Switching& done, const Part& stretch) {
    for (const auto& [id, before] : stretch.before.displays) {
        const bool isKnownLimit = id == done.id
                                      ? done.blackByAnother || hasBecomeMain(done, stretch)
                                      : mayReachAnother(done);
        if (before.main && before.lit && !stretch.after.displays.at(id).lit && !isKnownLimit) {
            return "the main display is dark";
        }
    }
    return {};
}

// A display that nobody can see counts as one that remains: a known limit.
bool isDarkened(const Part& stretch, std::uint32_t id) {
    const auto counts = [id](const auto& entry) {
        const Sight& sight = entry.second;
        return entry.first != id && sight.connected && sight.enabled && !sight.lit;
    };
    return stretch.before.litDisplays() > 0 && stretch.after.litDisplays() == 0 &&
           std::ranges::none_of(stretch.before.displays, counts);
}

std::string darkness(const Switching& done) {
    for (const Part& stretch : partsOf(done)) {
        const bool isKnownLimit =
            done.blackByAnother || hasLookedTooEarly(done, stretch) || mayReachAnother(done);
        if (isDarkened(stretch, done.id) && !isKnownLimit) {
            return "no display is lit any more";
        }
        if (std::string broken = darkMain(done, stretch); !broken.empty()) {
            return broken;
        }
    }
    return {};
}

// Of the displays that others have switched meanwhile this process knows nothing; of two that write
// what they remember the later one wins.
std::string badMemory(const Switching& done) {
    const bool areWritten =
        done.meanwhile && done.meanwhile->before.stored != done.meanwhile->after.stored;
    if (!isThere(done.after, done.id) || isSwitchedByOthers(done) || areWritten) {
        return {};
    }
    const bool isStored = done.after.stored.contains(done.id);
    const bool isEnabled = done.after.at(done.id).enabled;
    if (isStored && !done.before.stored.contains(done.id) && isEnabled) {
        return "the display is remembered and on";
    }
    const Sight* const before = find(done.before, done.id);
    const bool wentOff = before != nullptr && before->enabled && !isEnabled;
    return wentOff && !isStored ? "the display is off and not remembered" : "";
}

bool wasOn(const Sight& sight) {
    return sight.connected && sight.enabled && !sight.standby && !sight.isBlack() &&
           sight.mirrors == 0;
}

bool isWoken(const Passage& done) {
    return std::ranges::any_of(done.calls, [](const LoggedCall& call) {
        return isTakenMessage(call) && call.notes.at("bytes") == messageBytes(0x0C, 1);
    });
}

// A BlackOut ends at full brightness, whatever it was before. Where SkyLight does not switch, no
// monitor is woken, and some take nothing in standby. macOS may make a mirrored display the main
// one, and drops the tables of a display that is disabled.
std::string remainingChange(Sight before, Sight after, bool isTarget, const Switching& off,
                            const Switching& on) {
    const bool mirrors = isMade(off.calls, "CGConfigureDisplayMirrorOfDisplay") ||
                         isMade(on.calls, "CGConfigureDisplayMirrorOfDisplay");
    const bool mayStayInStandby = isTarget && off.outcome.method == ddcTitle &&
                                  (on.outcome.method != disconnectTitle || isWoken(on));
    const bool readable = !before.tables[0].empty() && !after.tables[0].empty() &&
                          !resetsAllTables(off) && !resetsAllTables(on) && !tablesAreRefused(off) &&
                          !(isTarget && off.outcome.method == disconnectTitle);
    for (Sight* const sight : {&before, &after}) {
        if (mirrors) {
            sight->main = false;
            sight->mirrors = 0;
        }
        if (mayStayInStandby) {
            sight->standby = sight->lit = false;
        }
        if (!readable) {
            sight->tables = {};
            sight->lit = false;
        }
        if (isTarget && after.brightness == 100 &&
            (off.outcome.method == blackoutTitle || off.wasUnderBlackout)) {
            sight->brightness = 100;
        }
        if (mayReachAnother(off)) {
            forgetMonitor(*sight);
        }
    }
    return differenceOf(before, after);
}

} // namespace

std::string brokenRule(const Calls& calls, std::uint32_t target) {
    std::set<std::uint32_t> mains;
    std::size_t active = 0;
    bool disables = false;
    for (const LoggedCall& call : calls) {
        if (call.call == "CGDisplayIsMain") {
            mains.erase(displayOf(call, 0));
            if (call.result != 0) {
                mains.insert(displayOf(call, 0));
            }
        } else if (call.call == "CGGetActiveDisplayList") {
            // A call that says nothing of its count has left the caller with any number.
            active = call.result == 0 ? call.notes.value("count", std::size_t{UINT32_MAX}) : 0;
        }
        if (const auto victim = victimOf(call, target); victim && mains.contains(*victim)) {
            return call.call + " against the main display";
        }
        if (isDisable(call) && active < 2) {
            return "a disconnect with fewer than two active displays";
        }
        disables = disables || isDisable(call);
        if (call.call == "CGCompleteDisplayConfiguration" && call.result == 0 && disables) {
            disables = false;
            --active;
        }
    }
    return {};
}

std::string brokenRule(const Switching& done) {
    std::string lines;
    for (const auto rule : {touchedInSpiteOfRefusal, darkness, changedOthers, missingEffect,
                            otherColours, badMemory}) {
        addLine(lines, rule(done));
    }
    return lines;
}

// A search that goes on while a display comes or goes ends early.
bool mayReachAnother(const Switching& done) {
    const bool seesOne =
        steadyBuses(done) <= 1 && (!isThereThroughout(done, done.id) || !done.wasNamed);
    return !done.busDisplays.empty() && (hasMoved(done) || seesOne);
}

void addLine(std::string& lines, const std::string& line) {
    if (!line.empty() && ("\n" + lines + "\n").find("\n" + line + "\n") == std::string::npos) {
        lines += (lines.empty() ? "" : "\n") + line;
    }
}

bool resetsAllTables(const Passage& done) {
    return isMade(done.calls, "CGDisplayRestoreColorSyncSettings");
}

std::string brokenByLooking(const Passage& done) {
    return std::ranges::any_of(partsOf(done), isTouched) ? "looking has changed something" : "";
}

std::string brokenByDarkness(const Passage& done) {
    const auto isDark = [](const Part& stretch) {
        return stretch.before.litDisplays() > 1 && stretch.after.litDisplays() == 0;
    };
    return std::ranges::any_of(partsOf(done), isDark) ? "no display is lit any more" : "";
}

std::string brokenByLettingGo(const Passage& done, const std::set<std::uint32_t>& blackFromBefore,
                              const std::set<std::uint32_t>& underBlackout,
                              const std::map<std::uint32_t, Tables>& tablesBefore) {
    for (const Part& stretch : partsOf(done)) {
        if (stretch.before.stored != stretch.after.stored) {
            return "the end has changed what is remembered";
        }
        for (const auto& [id, before] : stretch.before.displays) {
            const Sight& after = stretch.after.displays.at(id);
            const bool sameTables = before.tables == after.tables || resetsAllTables(done) ||
                                    underBlackout.contains(id) || after.tables[0].empty();
            if (before.enabled != after.enabled || before.standby != after.standby || !sameTables) {
                return "the end has changed " + named(id);
            }
        }
    }
    for (const std::uint32_t id : underBlackout) {
        if (!isThere(done.after, id) || tablesAreRefused(done) || done.meanwhile) {
            continue;
        }
        const Tables& tables = done.after.at(id).tables;
        if (done.after.at(id).isBlack() && !blackFromBefore.contains(id)) {
            return "the end leaves " + named(id) + " black";
        }
        const auto before = tablesBefore.find(id);
        const bool areKnown = before != tablesBefore.end() && !before->second[0].empty() &&
                              !tables[0].empty() && !resetsAllTables(done);
        if (areKnown && !areAlike(tables, before->second)) {
            return "the end leaves " + named(id) + " in other colours";
        }
    }
    return {};
}

std::string brokenByOffAndOn(const Switching& off, const Switching& on) {
    const Sight* const target = find(off.before, off.id);
    const bool onlySoftware =
        off.outcome.method == disconnectTitle && on.outcome.method != disconnectTitle;
    if (!on.outcome.success || onlySoftware || target == nullptr || !wasOn(*target)) {
        return {};
    }
    for (const auto& [id, before] : off.before.displays) {
        const std::string change = remainingChange(before, on.after.at(id), id == off.id, off, on);
        if (!change.empty()) {
            return "off and then on has changed " + named(id) + ": " + change;
        }
    }
    for (const std::uint32_t id : off.before.stored) {
        const bool isOff = isThere(on.after, id) && !on.after.at(id).enabled;
        if (isOff && on.seesAll && !on.after.stored.contains(id)) {
            return "off and then on has forgotten " + named(id);
        }
    }
    return {};
}

std::string brokenByAnEnd(const End& end) {
    const auto& [before, after, id, hadTime, mayReachAnother, seesAll] = end;
    if (isDarkened({before, after}, id) && !mayReachAnother) {
        return "ended, it leaves no display lit";
    }
    for (const auto& [other, sight] : before.displays) {
        const bool wentOff = sight.connected && sight.enabled && !after.at(other).enabled;
        if (wentOff && hadTime && seesAll && !after.stored.contains(other)) {
            return "ended, it has forgotten what it disconnected";
        }
        const bool isNew = after.stored.contains(other) && !before.stored.contains(other);
        if (isNew && hadTime && other == id && after.at(other).enabled) {
            return "ended, it remembers a display that is on";
        }
    }
    return {};
}

} // namespace safety
