#include "SimulatedMac/World/Verbs.h"

#include "SimulatedMac/World/AttendedMac.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/Message.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <sstream>

namespace simulated_mac {
namespace {

uint32_t displayID(const Words& words, std::size_t place) {
    const std::string& text = words[place];
    uint32_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw VerbError(words[0] + ": '" + shown(text) + "' is no display ID");
    }
    return id;
}

uint32_t onlyDisplayID(const Words& words) {
    if (words.size() != 2) {
        throw VerbError(words[0] + ": takes one display ID");
    }
    return displayID(words, 1);
}

void takeNoOperand(const Words& words) {
    if (words.size() > 1) {
        throw VerbError(words[0] + ": unknown option '" + shown(words[1]) + "'");
    }
}

/// An action that has nothing to tell.
OutsideAction silent(std::vector<uint32_t> displays, std::function<void(AttendedMac&)> act) {
    return {std::move(displays), std::nullopt, false, [act = std::move(act)](AttendedMac& mac) {
                act(mac);
                return std::string();
            }};
}

/// One line for each display that has another ID now.
std::string changesOfIDs(const std::vector<uint32_t>& before, const std::vector<uint32_t>& now) {
    std::string lines;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i] != now[i]) {
            lines += std::to_string(before[i]) + " is now " + std::to_string(now[i]) + "\n";
        }
    }
    return lines;
}

OutsideAction unplug(const Words& words) {
    const uint32_t id = onlyDisplayID(words);
    return silent({id}, [id](AttendedMac& mac) { mac.unplug(id); });
}

/// An action that gives displays other IDs, and tells which.
OutsideAction renumbering(std::vector<uint32_t> displays, std::function<void(AttendedMac&)> act) {
    return {std::move(displays), std::nullopt, false, [act = std::move(act)](AttendedMac& mac) {
                const std::vector<uint32_t> before = mac.state().ids();
                act(mac);
                return changesOfIDs(before, mac.state().ids());
            }};
}

OutsideAction plugAs(const Words& words) {
    if (words.size() != 4 || words[2] != "--as") {
        throw VerbError("plug: takes one display ID, or one and --as with the new one");
    }
    const uint32_t id = displayID(words, 1);
    const uint32_t newID = displayID(words, 3);
    if (newID == 0) {
        throw VerbError("plug: 0 is no display");
    }
    OutsideAction action = renumbering({id}, [=](AttendedMac& mac) { mac.plugAs(id, newID); });
    action.newID = newID;
    return action;
}

OutsideAction plug(const Words& words) {
    if (words.size() > 2) {
        return plugAs(words);
    }
    const uint32_t id = onlyDisplayID(words);
    return silent({id}, [id](AttendedMac& mac) { mac.plug(id); });
}

OutsideAction enable(const Words& words) {
    const uint32_t id = onlyDisplayID(words);
    return silent({id}, [id](AttendedMac& mac) { mac.enable(id); });
}

OutsideAction disable(const Words& words) {
    const uint32_t id = onlyDisplayID(words);
    return silent({id}, [id](AttendedMac& mac) { mac.disable(id); });
}

OutsideAction makeMain(const Words& words) {
    const uint32_t id = onlyDisplayID(words);
    return silent({id}, [id](AttendedMac& mac) { mac.makeMain(id); });
}

OutsideAction mirror(const Words& words) {
    if (words.size() != 3) {
        throw VerbError("mirror: takes a display ID and its master's, or 0");
    }
    const uint32_t id = displayID(words, 1);
    const uint32_t master = displayID(words, 2);
    if (id == master) {
        throw VerbError("mirror: display " + shown(words[1]) + " cannot mirror itself");
    }
    return silent(master == 0 ? std::vector{id} : std::vector{id, master},
                  [=](AttendedMac& mac) { mac.mirror(id, master); });
}

OutsideAction sleep(const Words& words) {
    takeNoOperand(words);
    return silent({}, [](AttendedMac& mac) { mac.sleep(); });
}

OutsideAction wake(const Words& words) {
    takeNoOperand(words);
    return silent({}, [](AttendedMac& mac) { mac.wake(); });
}

OutsideAction lid(const Words& words) {
    if (words.size() != 2 || (words[1] != "close" && words[1] != "open")) {
        throw VerbError("lid: takes 'close' or 'open'");
    }
    OutsideAction action = silent({}, [closes = words[1] == "close"](AttendedMac& mac) {
        closes ? mac.closeLid() : mac.openLid();
    });
    action.needsBuiltin = true;
    return action;
}

OutsideAction logOut(const Words& words) {
    takeNoOperand(words);
    return silent({}, [](AttendedMac& mac) { mac.logOut(); });
}

OutsideAction reboot(const Words& words) {
    if (words.size() == 2 && words[1] == "--renumber") {
        return renumbering({}, [](AttendedMac& mac) { mac.rebootRenumbered(); });
    }
    takeNoOperand(words);
    return silent({}, [](AttendedMac& mac) { mac.reboot(); });
}

OutsideAction reset(const Words& words) {
    takeNoOperand(words);
    return silent({}, [](AttendedMac& mac) { mac.reset(); });
}

using Parser = OutsideAction (*)(const Words&);

const std::map<std::string, Parser>& parsers() {
    static const std::map<std::string, Parser> all = {
        {"unplug", unplug}, {"plug", plug},     {"enable", enable}, {"disable", disable},
        {"main", makeMain}, {"mirror", mirror}, {"sleep", sleep},   {"wake", wake},
        {"lid", lid},       {"logout", logOut}, {"reboot", reboot}, {"reset", reset},
    };
    return all;
}

} // namespace

bool isVerb(const std::string& word) {
    return parsers().contains(word);
}

OutsideAction parseVerb(const Words& words) {
    if (words.empty()) {
        throw VerbError("no verb");
    }
    const auto parser = parsers().find(words[0]);
    if (parser == parsers().end()) {
        throw VerbError("unknown verb '" + shown(words[0]) + "'");
    }
    return parser->second(words);
}

Words wordsOf(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

void requirePossible(const OutsideAction& action, const Scene& scene,
                     const std::set<uint32_t>& furtherIDs) {
    for (const uint32_t id : action.displays) {
        if (!furtherIDs.contains(id) &&
            std::ranges::find(scene.displays, id, &SceneDisplay::id) == scene.displays.end()) {
            throw VerbError("no display " + std::to_string(id));
        }
    }
    if (action.needsBuiltin && std::ranges::none_of(scene.displays, &SceneDisplay::builtin)) {
        throw VerbError("no built-in display");
    }
}

} // namespace simulated_mac
