#include "SimulatedMac/World/Verbs.h"

#include "SimulatedMac/World/AttendedMac.h"

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
        throw VerbError(words[0] + ": '" + text + "' is no display ID");
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
        throw VerbError(words[0] + ": unknown option '" + words[1] + "'");
    }
}

/// An action that has nothing to tell.
OutsideAction silent(std::vector<uint32_t> displays, std::function<void(AttendedMac&)> act) {
    return {std::move(displays), [act = std::move(act)](AttendedMac& mac) {
                act(mac);
                return std::string();
            }};
}

OutsideAction unplug(const Words& words) {
    const uint32_t id = onlyDisplayID(words);
    return silent({id}, [id](AttendedMac& mac) { mac.unplug(id); });
}

OutsideAction plug(const Words& words) {
    const uint32_t id = onlyDisplayID(words);
    return silent({id}, [id](AttendedMac& mac) { mac.plug(id); });
}

OutsideAction logOut(const Words& words) {
    takeNoOperand(words);
    return silent({}, [](AttendedMac& mac) { mac.logOut(); });
}

OutsideAction reboot(const Words& words) {
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
        {"unplug", unplug}, {"plug", plug},   {"logout", logOut},
        {"reboot", reboot}, {"reset", reset},
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
        throw VerbError("unknown verb '" + words[0] + "'");
    }
    return parser->second(words);
}

Words wordsOf(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

void requirePossible(const OutsideAction& action, const Scene& scene) {
    for (const uint32_t id : action.displays) {
        if (std::ranges::find(scene.displays, id, &SceneDisplay::id) == scene.displays.end()) {
            throw VerbError("no display " + std::to_string(id));
        }
    }
}

} // namespace simulated_mac
