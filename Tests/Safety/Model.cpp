#include "Safety/Model.h"

#include <algorithm>

namespace safety {
namespace {

bool isUsed(const Sight& sight) {
    return sight.connected && sight.enabled;
}

std::set<std::uint32_t> rememberedBy(const Switching& done, const Memory& known) {
    return known.remembered.value_or(done.before.stored);
}

// A display shows its picture when nothing speaks against it.
void lightUp(Desk& desk) {
    for (auto& [id, sight] : desk.displays) {
        sight.lit = isUsed(sight) && !sight.asleep && !sight.standby && !sight.isBlack();
    }
}

// The main display is awake, and no display mirrors another one, or is to when that is back.
bool isPlain(const Desk& desk) {
    const auto isAwakeMain = [](const auto& entry) {
        return entry.second.main && !entry.second.asleep;
    };
    const auto mayMirror = [](const auto& entry) {
        return entry.second.mirrors != 0 || !entry.second.online;
    };
    return std::ranges::any_of(desk.displays, isAwakeMain) &&
           std::ranges::none_of(desk.displays, mayMirror);
}

// Which display macOS makes the main one is its own business when one comes back, or when it
// compares those of a set or a set loses its master; so is what becomes of those that mirror the
// display, or were to mirror one that does, and of all that mirror where a display joins them or
// their master joins it.
void leaveToTheMac(Sight& due, Sight& after, const Switching& done, std::uint32_t id) {
    if (done.on || done.outcome.method == blackoutTitle || done.before.at(done.id).mirrors != 0 ||
        lostMaster(done.before, done.after, done.id)) {
        due.main = after.main = false;
    }
    const bool mayMirror =
        done.outcome.method == disconnectTitle && id != done.id && done.before.at(id).mirrors == 0;
    const bool isBlackout = done.outcome.method == blackoutTitle && !done.on;
    const std::uint32_t master = done.before.at(id).mirrors;
    const bool followsItsMaster = master != 0 && done.after.at(master).mirrors == done.id;
    if (followsItsMaster || master == done.id || after.mirrors == done.id || mayMirror ||
        (isBlackout && !isPlain(done.before))) {
        due.mirrors = after.mirrors = 0;
    }
}

void addBuses(const std::vector<simulated_mac::RegistryNode>& nodes,
              std::vector<std::optional<std::uint32_t>>& displays) {
    for (const simulated_mac::RegistryNode& node : nodes) {
        if (node.i2cBuses > 0) {
            displays.push_back(node.busDisplay);
        }
        addBuses(node.children, displays);
    }
}

bool isNamedIn(const std::vector<simulated_mac::RegistryNode>& nodes,
               const simulated_mac::SceneDisplay& display) {
    return std::ranges::any_of(nodes, [&](const simulated_mac::RegistryNode& node) {
        const auto is = [&node](const char* key, std::uint32_t number) {
            return number != 0 && node.properties.contains(key) && node.properties[key] == number;
        };
        return node.connectorOf == display.id || node.display == display.id ||
               is("DisplayID", display.id) ||
               (is("DisplayVendorID", display.vendor) && is("DisplayProductID", display.model)) ||
               isNamedIn(node.children, display);
    });
}

// A framebuffer's own numbers of maker and model are not looked at.
bool isNamed(const simulated_mac::RegistryNode& framebuffer) {
    return !framebuffer.properties.contains("DisplayVendorID");
}

bool hasBus(const std::vector<simulated_mac::RegistryNode>& nodes, std::uint32_t id) {
    return std::ranges::any_of(nodes, [id](const simulated_mac::RegistryNode& node) {
        return (node.i2cBuses > 0 && node.busDisplay == id && isNamed(node)) ||
               hasBus(node.children, id);
    });
}

void blacken(Tables& tables) {
    for (auto& channel : tables) {
        std::ranges::fill(channel, 0.0F);
    }
}

} // namespace

std::vector<std::optional<std::uint32_t>> busDisplays(const simulated_mac::Scene& scene) {
    std::vector<std::optional<std::uint32_t>> displays;
    addBuses(scene.registry, displays);
    return displays;
}

bool isNamedInRegistry(const simulated_mac::Scene& scene, std::uint32_t id) {
    const auto display = std::ranges::find(scene.displays, id, &simulated_mac::SceneDisplay::id);
    return display != scene.displays.end() && isNamedIn(scene.registry, *display);
}

bool mayReachAnother(const simulated_mac::Scene& scene, const Desk& desk, std::uint32_t id) {
    const auto display = desk.displays.find(id);
    const bool isThere = display != desk.displays.end() && display->second.connected;
    return busDisplays(scene).size() == 1 && (!isThere || !isNamedInRegistry(scene, id));
}

bool hasInSkyLight(const simulated_mac::Scene& scene, const char* function) {
    return scene.skyLight && std::ranges::find(*scene.skyLight, function) != scene.skyLight->end();
}

bool Model::has(const char* function) const {
    return hasInSkyLight(scene_, function);
}

bool Model::takesMessages(std::uint32_t id) const {
    const auto display = std::ranges::find(scene_.displays, id, &simulated_mac::SceneDisplay::id);
    return display != scene_.displays.end() && display->ddc && display->ddc->open == 0 &&
           display->ddc->send == 0 && display->ddc->result == 0 && hasBus(scene_.registry, id);
}

bool Model::knows(const Switching& done) const {
    const bool areReadable = std::ranges::none_of(done.before.displays, [](const auto& entry) {
        return entry.second.online && entry.second.tables[0].empty();
    });
    const bool takeMessages = std::ranges::all_of(scene_.displays, [](const auto& display) {
        return !display.ddc || (display.ddc->minGapCalls == 0 && !display.ddc->deafInStandby);
    });
    const auto target = done.before.displays.find(done.id);
    const bool tablesAreKnown =
        !resetsAllTables(done) && (!done.wasUnderBlackout || !done.tablesBeforeBlackout[0].empty());
    return areReadable && takeMessages && tablesAreKnown && scene_.habits.settleCalls == 0 &&
           scene_.faults.empty() && target != done.before.displays.end() &&
           target->second.connected && !done.meanwhile && !done.wasFaulty;
}

bool Model::isOurs(const Switching& done, const Memory& known) const {
    return rememberedBy(done, known).contains(done.id) && has("SLSGetDisplayList") &&
           !done.before.at(done.id).online;
}

// Mirroring by hardware leaves nothing to draw on but the master.
bool Model::draws(const Sight& sight) const {
    return sight.online && !sight.asleep && (scene_.softwareMirroring || sight.mirrors == 0);
}

// The only monitor that speaks DDC is taken for that of a display that has none.
void Model::applyMessages(Desk& desk, const Switching& done) const {
    Sight* monitor = &desk.displays.at(done.id);
    for (auto& [id, sight] : desk.displays) {
        if (mayReachAnother(done) && !done.before.at(done.id).brightness && sight.brightness &&
            sight.connected) {
            monitor = &sight;
        }
    }
    for (const LoggedCall& call : done.calls) {
        if (!isTakenMessage(call)) {
            continue;
        }
        const std::string bytes = call.notes.at("bytes");
        for (const std::uint16_t level : std::initializer_list<std::uint16_t>{0, 100}) {
            monitor->brightness = bytes == messageBytes(0x10, level) ? std::optional<int>(level)
                                                                     : monitor->brightness;
        }
        monitor->standby =
            bytes == messageBytes(0x0C, 5) || (monitor->standby && bytes != messageBytes(0x0C, 1));
    }
}

void Model::blackOut(Desk& desk, std::uint32_t id) const {
    Sight& target = desk.displays.at(id);
    blacken(target.tables);
    const auto canBeMaster = [&](const auto& entry) {
        return entry.first != id && draws(entry.second);
    };
    auto master = std::ranges::find_if(
        desk.displays, [&](const auto& entry) { return canBeMaster(entry) && entry.second.main; });
    master =
        master != desk.displays.end() ? master : std::ranges::find_if(desk.displays, canBeMaster);
    if (master != desk.displays.end() && target.online) {
        const std::uint32_t root =
            master->second.mirrors == 0 ? master->first : master->second.mirrors;
        target.mirrors = root == id ? 0 : root;
    }
}

void Model::letGo(Desk& desk, const Switching& done) const {
    Sight& target = desk.displays.at(done.id);
    if (done.wasUnderBlackout && !done.tablesBeforeBlackout[0].empty()) {
        target.tables = done.tablesBeforeBlackout;
    }
    if (!target.main) {
        target.mirrors = 0;
    }
}

Model::Due Model::switchedOff(const Switching& done, const Memory& known) const {
    const Sight& target = done.before.at(done.id);
    if (target.main) {
        return {disconnectTitle, false, done.before};
    }
    if (isOurs(done, known)) {
        return {disconnectTitle, true, done.before};
    }
    if (has("SLSConfigureDisplayEnabled")) {
        const auto active = std::ranges::count_if(
            done.before.displays, [this](const auto& entry) { return draws(entry.second); });
        if (active < 2) {
            return {disconnectTitle, false, done.before};
        }
        Due due = {disconnectTitle, true, done.before};
        due.desk.displays.at(done.id).enabled = false;
        due.desk.stored = rememberedBy(done, known);
        due.desk.stored.insert(done.id);
        letGo(due.desk, done);
        for (auto& [id, sight] : due.desk.displays) {
            sight.mirrors = sight.mirrors == done.id ? 0 : sight.mirrors;
        }
        return due;
    }
    return fallenBack(done);
}

Model::Due Model::fallenBack(const Switching& done) const {
    const bool isSent =
        takesMessages(done.id) || std::ranges::any_of(done.calls, [](const LoggedCall& call) {
            return isTakenMessage(call) && call.notes.at("bytes") == messageBytes(0x0C, 5);
        });
    Due due = {isSent ? ddcTitle : blackoutTitle, true, done.before};
    if (!isSent && !done.wasUnderBlackout) {
        blackOut(due.desk, done.id);
    }
    return due;
}

Model::Due Model::switchedOn(const Switching& done, const Memory& known) const {
    const bool canSwitch = has("SLSConfigureDisplayEnabled");
    if (isOurs(done, known) && !canSwitch) {
        return {disconnectTitle, false, done.before};
    }
    const bool enables = canSwitch && (isOurs(done, known) || !done.wasUnderBlackout);
    Due due = {enables ? disconnectTitle : blackoutTitle, true, done.before};
    if (enables) {
        due.desk.displays.at(done.id).enabled = true;
        due.desk.stored = rememberedBy(done, known);
        due.desk.stored.erase(done.id);
    }
    letGo(due.desk, done);
    if (takesMessages(done.id) && !isOurs(done, known) && (canSwitch || done.wasUnderBlackout)) {
        due.desk.displays.at(done.id).standby = false;
    }
    return due;
}

std::string Model::difference(const Switching& done, const Memory& known) const {
    Due due = done.on ? switchedOn(done, known) : switchedOff(done, known);
    applyMessages(due.desk, done);
    lightUp(due.desk);
    if (due.method != done.outcome.method || due.success != done.outcome.success) {
        return "the model expects " + due.method + (due.success ? ", success" : ", failure");
    }
    if (due.desk.stored != done.after.stored) {
        return "the model expects other remembered displays";
    }
    for (auto& [id, sight] : due.desk.displays) {
        Sight after = done.after.at(id);
        leaveToTheMac(sight, after, done, id);
        // macOS drops the tables of a display that is off.
        if (!sight.enabled || !done.before.at(id).enabled || after.tables[0].empty()) {
            sight.tables = after.tables;
            sight.lit = after.lit;
        }
        if (const std::string words = differenceOf(sight, after); !words.empty()) {
            return "the model expects display " + std::to_string(id) + " otherwise: " + words;
        }
    }
    return {};
}

} // namespace safety
