#include "SimulatedMac/World/MacState.h"

#include <algorithm>

namespace simulated_mac {
namespace {

constexpr uint32_t monitorAddress = 0x6E;
constexpr uint8_t vcpBrightness = 0x10;
constexpr uint8_t vcpPower = 0x0C; // this system's power code, not the standard's
constexpr uint16_t powerOn = 1;
constexpr uint16_t powerStandby = 5;

// The XOR of the destination address and all bytes, the checksum included, is 0.
bool isValidSetVCP(uint32_t address, std::span<const uint8_t> bytes) {
    if (address != monitorAddress || bytes.size() != 7 || bytes[0] != 0x51 || bytes[1] != 0x84 ||
        bytes[2] != 0x03) {
        return false;
    }
    uint8_t checksum = monitorAddress;
    for (const uint8_t byte : bytes) {
        checksum = static_cast<uint8_t>(checksum ^ byte);
    }
    return checksum == 0;
}

} // namespace

MacState::MacState(const Scene& scene) : softwareMirroring_(scene.softwareMirroring) {
    for (const SceneDisplay& display : scene.displays) {
        order_.push_back(display.id);
        displays_[display.id] = initialDisplay(display);
        gammaCapacities_[display.id] = display.gammaCapacity;
        if (display.main) {
            sceneMain_ = display.id;
        }
    }
}

MacState::MacState(const Scene& scene, const nlohmann::json& stored) : MacState(scene) {
    for (const uint32_t id : order_) {
        if (const auto found = stored.find(std::to_string(id)); found != stored.end()) {
            displays_[id] = storedDisplay(*found);
        }
    }
}

MacState::Display MacState::initialDisplay(const SceneDisplay& display) {
    Display state;
    state.connected = display.connected;
    state.session = state.permanent = {display.enabled, display.mirrors};
    state.brightness = display.ddc ? display.ddc->brightness : 0;
    return state;
}

MacState::Display MacState::storedDisplay(const nlohmann::json& stored) {
    Display display;
    display.connected = stored.at("connected").get<bool>();
    display.session = {stored.at("session").at("enabled").get<bool>(),
                       stored.at("session").at("mirrors").get<uint32_t>()};
    display.permanent = {stored.at("permanent").at("enabled").get<bool>(),
                         stored.at("permanent").at("mirrors").get<uint32_t>()};
    display.brightness = stored.at("brightness").get<int>();
    display.standby = stored.at("standby").get<bool>();
    display.droppedMessages = stored.at("droppedMessages").get<int>();
    if (const auto gamma = stored.find("gamma"); gamma != stored.end()) {
        display.gamma =
            OwnedGamma{gamma->at("table").get<GammaTable>(),
                       {gamma->at("pid").get<int>(), gamma->at("start").get<uint64_t>()}};
    }
    return display;
}

nlohmann::json MacState::toJson(const Display& display) {
    nlohmann::json stored = {
        {"connected", display.connected},
        {"session", {{"enabled", display.session.enabled}, {"mirrors", display.session.mirrors}}},
        {"permanent",
         {{"enabled", display.permanent.enabled}, {"mirrors", display.permanent.mirrors}}},
        {"brightness", display.brightness},
        {"standby", display.standby},
        {"droppedMessages", display.droppedMessages}};
    if (display.gamma) {
        stored["gamma"] = {{"table", display.gamma->table},
                           {"pid", display.gamma->owner.pid},
                           {"start", display.gamma->owner.start}};
    }
    return stored;
}

nlohmann::json MacState::toJson() const {
    auto stored = nlohmann::json::object();
    for (const auto& [id, display] : displays_) {
        stored[std::to_string(id)] = toJson(display);
    }
    return stored;
}

const MacState::Display* MacState::find(uint32_t id) const {
    const auto found = displays_.find(id);
    return found == displays_.end() ? nullptr : &found->second;
}

std::vector<uint32_t> MacState::displaysThat(Question isSo) const {
    std::vector<uint32_t> ids;
    std::ranges::copy_if(order_, std::back_inserter(ids),
                         [this, isSo](uint32_t id) { return (this->*isSo)(id); });
    return ids;
}

std::vector<uint32_t> MacState::known() const {
    return displaysThat(&MacState::isKnown);
}
std::vector<uint32_t> MacState::online() const {
    return displaysThat(&MacState::isOnline);
}

// Documented: the first entry is the main display.
std::vector<uint32_t> MacState::active() const {
    std::vector<uint32_t> ids = displaysThat(&MacState::isActive);
    const auto isMain = [this](uint32_t id) { return main() == id; };
    std::ranges::stable_partition(ids, isMain);
    return ids;
}

// Assumed: the display that the user made the main one gets the menu bar back when it returns.
std::optional<uint32_t> MacState::main() const {
    if (sceneMain_ && isDrawable(*sceneMain_)) {
        return sceneMain_;
    }
    const auto first = std::ranges::find_if(order_, [this](uint32_t id) { return isDrawable(id); });
    return first == order_.end() ? std::nullopt : std::optional(*first);
}

bool MacState::isConnected(uint32_t id) const {
    const Display* const display = find(id);
    return display != nullptr && display->connected;
}

bool MacState::isEnabled(uint32_t id) const {
    const Display* const display = find(id);
    return display != nullptr && display->session.enabled;
}

bool MacState::isKnown(uint32_t id) const {
    return isConnected(id);
}

bool MacState::isOnline(uint32_t id) const {
    return isConnected(id) && isEnabled(id);
}

// Documented: a display that hardware mirrors another is online but not drawable.
bool MacState::isActive(uint32_t id) const {
    return isOnline(id) && (softwareMirroring_ || mirrorMaster(id) == 0);
}

bool MacState::isDrawable(uint32_t id) const {
    return isOnline(id) && mirrorMaster(id) == 0;
}

// A mirror whose master is gone shows its own picture again (assumed).
uint32_t MacState::mirrorMaster(uint32_t id) const {
    if (!isOnline(id)) {
        return 0;
    }
    const uint32_t master = find(id)->session.mirrors;
    return isOnline(master) ? master : 0;
}

// Documented: true for every member of the set, its master included.
bool MacState::isInMirrorSet(uint32_t id) const {
    return mirrorMaster(id) != 0 || std::ranges::any_of(order_, [this, id](uint32_t other) {
               return mirrorMaster(other) == id;
           });
}

bool MacState::isInStandby(uint32_t id) const {
    return displays_.at(id).standby;
}
int MacState::brightness(uint32_t id) const {
    return displays_.at(id).brightness;
}
int MacState::droppedMessages(uint32_t id) const {
    return displays_.at(id).droppedMessages;
}

void MacState::setEnabled(uint32_t id, bool enabled, bool permanently) {
    Display& display = displays_.at(id);
    display.session.enabled = enabled;
    if (permanently) {
        display.permanent.enabled = enabled;
    }
    if (!enabled) {
        display.gamma.reset();
    }
}

// A display that others mirror hands them on to its own master, so that sets stay one deep
// (assumed).
void MacState::setMirrorMaster(uint32_t id, uint32_t master, bool permanently) {
    const uint32_t root = master != 0 && mirrorMaster(master) != 0 ? mirrorMaster(master) : master;
    for (auto& [other, display] : displays_) {
        if (other != id && (root == 0 || display.session.mirrors != id)) {
            continue;
        }
        display.session.mirrors = other == root ? 0 : root;
        if (permanently) {
            display.permanent.mirrors = display.session.mirrors;
        }
    }
}

// Without power over the cable the picture and its settings are gone; the monitor keeps its own.
void MacState::unplug(uint32_t id) {
    displays_.at(id).connected = false;
    displays_.at(id).gamma.reset();
}

// Reported by Mac users: a display that was disabled comes back enabled when it is plugged in anew.
void MacState::plug(uint32_t id) {
    Display& display = displays_.at(id);
    display.connected = true;
    display.standby = false;
    display.session.enabled = display.permanent.enabled = true;
}

// Documented: what was configured for the session reverts to the last permanent settings.
void MacState::endSession() {
    for (auto& [id, display] : displays_) {
        display.session = display.permanent;
        display.gamma.reset();
    }
}

void MacState::logOut() {
    endSession();
}
void MacState::reboot() {
    endSession();
}

// Widely reported: the window server drops a table when the process that set it ends.
const MacState::OwnedGamma* MacState::liveGamma(uint32_t id) const {
    const Display* const display = find(id);
    if (display == nullptr || !display->gamma || !isRunning(display->gamma->owner)) {
        return nullptr;
    }
    return &*display->gamma;
}

GammaTable MacState::gamma(uint32_t id) const {
    const OwnedGamma* const owned = liveGamma(id);
    const std::size_t capacity = gammaCapacities_.at(id);
    return owned != nullptr ? resampled(owned->table, capacity) : linearGamma(capacity);
}

std::string MacState::gammaKind(uint32_t id) const {
    const GammaTable table = gamma(id);
    if (isZero(table)) {
        return "zero";
    }
    return isLinear(table) ? "normal" : "other";
}

void MacState::setGamma(uint32_t id, const GammaTable& table, const ProcessIdentity& owner) {
    displays_.at(id).gamma = OwnedGamma{resampled(table, gammaCapacities_.at(id)), owner};
}

void MacState::resetGamma() {
    for (auto& [id, display] : displays_) {
        display.gamma.reset();
    }
}

void MacState::monitorReceives(uint32_t id, uint32_t address, std::span<const uint8_t> bytes) {
    Display& display = displays_.at(id);
    if (!display.connected) {
        return;
    }
    if (!isValidSetVCP(address, bytes)) {
        ++display.droppedMessages;
        return;
    }
    const auto value = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
    if (bytes[3] == vcpBrightness) {
        display.brightness = std::min<int>(value, 100);
    } else if (bytes[3] == vcpPower && (value == powerOn || value == powerStandby)) {
        display.standby = value == powerStandby;
    }
}

} // namespace simulated_mac
