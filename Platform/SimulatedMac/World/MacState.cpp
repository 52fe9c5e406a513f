#include "SimulatedMac/World/MacState.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace simulated_mac {
namespace {

constexpr std::size_t gammaSize = 256;
constexpr int mostDroppedMessages = 1'000'000'000;

constexpr uint32_t monitorAddress = 0x6E;
constexpr uint8_t vcpBrightness = 0x10;
constexpr uint8_t vcpPower = 0x0C; // this system's power code, not the standard's
constexpr uint16_t powerOn = 1;
constexpr uint16_t powerStandby = 5;

GammaTable linearGamma() {
    std::vector<float> ramp(gammaSize);
    for (std::size_t i = 0; i < gammaSize; ++i) {
        ramp[i] = static_cast<float>(i) / static_cast<float>(gammaSize - 1);
    }
    return {ramp, ramp, ramp};
}

bool isZero(const GammaTable& table) {
    return std::ranges::all_of(table, [](const std::vector<float>& channel) {
        return std::ranges::all_of(channel, [](float entry) { return entry == 0; });
    });
}

std::vector<float> storedChannel(const Field& stored) {
    std::vector<float> channel;
    stored.eachElement([&channel](const Field& entry) { channel.push_back(entry.real()); });
    stored.require(channel.size() == gammaSize, "256 numbers");
    return channel;
}

GammaTable storedTable(const Field& stored) {
    stored.require(stored.value().is_array() && stored.value().size() == 3, "3 arrays");
    return {storedChannel(stored.element(0)), storedChannel(stored.element(1)),
            storedChannel(stored.element(2))};
}

// One display has one spelling, so that none is there twice.
uint32_t storedID(const std::string& key, const Field& display) {
    uint32_t id = 0;
    (void)std::from_chars(key.data(), key.data() + key.size(), id);
    if (id == 0 || std::to_string(id) != key) {
        display.reject("no display ID");
    }
    return id;
}

// What is no number has no place in JSON, nor in a table (assumed).
void replaceNonNumbers(GammaTable& table) {
    for (std::vector<float>& channel : table) {
        std::ranges::replace_if(channel, [](float entry) { return !std::isfinite(entry); }, 0.0F);
    }
}

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
        if (display.main) {
            sceneMain_ = display.id;
        }
    }
}

MacState::MacState(const Scene& scene, const nlohmann::json& stored, const std::string& source)
    : MacState(scene) {
    Field(stored, source, "displays").eachKey([this](const std::string& key, const Field& display) {
        const uint32_t id = storedID(key, display);
        const Display state = storedDisplay(display);
        if (displays_.contains(id)) {
            displays_[id] = state;
        }
    });
}

MacState::Display MacState::initialDisplay(const SceneDisplay& display) {
    Display state;
    state.connected = display.connected;
    state.session = state.permanent = {display.enabled, display.mirrors};
    state.brightness = display.ddc ? display.ddc->brightness : 0;
    return state;
}

MacState::Layer MacState::storedLayer(const Field& stored) {
    return {stored.at("enabled").boolean(), stored.at("mirrors").word()};
}

MacState::OwnedGamma MacState::storedGamma(const Field& stored) {
    const auto pid = static_cast<int>(stored.at("pid").integer(1, INT32_MAX));
    const auto start = static_cast<uint64_t>(stored.at("start").integer(0, INT64_MAX));
    return {storedTable(stored.at("table")), {pid, start}};
}

MacState::Display MacState::storedDisplay(const Field& stored) {
    Display display;
    display.connected = stored.at("connected").boolean();
    display.session = storedLayer(stored.at("session"));
    display.permanent = storedLayer(stored.at("permanent"));
    display.brightness = static_cast<int>(stored.at("brightness").integer(0, 100));
    display.standby = stored.at("standby").boolean();
    display.droppedMessages =
        static_cast<int>(stored.at("droppedMessages").integer(0, mostDroppedMessages));
    if (stored.value().contains("gamma")) {
        display.gamma = storedGamma(stored.at("gamma"));
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
    return owned != nullptr ? owned->table : linearGamma();
}

std::string MacState::gammaKind(uint32_t id) const {
    const GammaTable table = gamma(id);
    if (isZero(table)) {
        return "zero";
    }
    return table == linearGamma() ? "normal" : "other";
}

void MacState::setGamma(uint32_t id, GammaTable table, const ProcessIdentity& owner) {
    replaceNonNumbers(table);
    displays_.at(id).gamma = OwnedGamma{std::move(table), owner};
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
        display.droppedMessages = std::min(display.droppedMessages + 1, mostDroppedMessages);
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
