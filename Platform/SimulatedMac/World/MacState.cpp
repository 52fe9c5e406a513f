#include "SimulatedMac/World/MacState.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>
#include <stdexcept>

namespace simulated_mac {
namespace {

constexpr std::size_t usualCapacity = 256;
constexpr int mostDroppedMessages = 1'000'000'000;

constexpr uint32_t monitorAddress = 0x6E;
constexpr uint8_t vcpBrightness = 0x10;
constexpr uint8_t vcpPower = 0x0C; // this system's power code, not the standard's
constexpr uint16_t powerOn = 1;
constexpr uint16_t powerStandby = 5;

GammaTable zeroGamma(std::size_t entries) {
    const std::vector<float> channel(entries, 0.0F);
    return {channel, channel, channel};
}

std::vector<float> storedChannel(const Field& stored, std::size_t entries) {
    std::vector<float> channel;
    stored.eachElement([&channel](const Field& entry) { channel.push_back(entry.real()); });
    stored.require(channel.size() == entries, (std::to_string(entries) + " numbers").c_str());
    return channel;
}

GammaTable storedTable(const Field& stored, std::size_t entries) {
    stored.require(stored.value().is_array() && stored.value().size() == 3, "3 arrays");
    return {storedChannel(stored.element(0), entries), storedChannel(stored.element(1), entries),
            storedChannel(stored.element(2), entries)};
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

bool storedFlag(const Field& stored, const char* key) {
    return stored.value().contains(key) && stored.at(key).boolean();
}

// What is no number has no place in JSON, nor in a table. Assumed (gamma-no-number): it counts as
// 0.
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

MacState::MacState(const Scene& scene)
    : softwareMirroring_(scene.softwareMirroring), habits_(scene.habits) {
    for (const SceneDisplay& display : scene.displays) {
        order_.push_back(display.id);
        displays_[display.id] = initialDisplay(display);
        if (display.main) {
            sceneMain_ = display.id;
        }
    }
}

MacState::MacState(const Scene& scene, const nlohmann::json& stored, const std::string& source)
    : MacState(scene, Field(stored, source, "displays")) {}

MacState::MacState(const Scene& scene, const Field& stored) : MacState(scene) {
    stored.eachKey([this](const std::string& key, const Field& display) {
        const auto known = displays_.find(storedID(key, display));
        Display unknown;
        restore(known == displays_.end() ? unknown : known->second, display);
    });
    giveStoredIDs(stored.value());
}

MacState::Display MacState::initialDisplay(const SceneDisplay& display) {
    Display state;
    state.sceneID = display.id;
    state.pixels = display.pixels;
    state.gammaCapacity = display.gammaCapacity;
    state.connected = display.connected;
    state.session = state.permanent = {display.enabled, display.mirrors, false};
    state.brightness = display.ddc ? display.ddc->brightness : 0;
    return state;
}

MacState::Layer MacState::storedLayer(const Field& stored) {
    return {stored.at("enabled").boolean(), stored.at("mirrors").word(),
            storedFlag(stored, "main")};
}

MacState::OwnedGamma MacState::storedGamma(const Field& stored, std::size_t entries) {
    const auto pid = static_cast<int>(stored.at("pid").integer(0, INT32_MAX));
    const auto start = static_cast<uint64_t>(stored.at("start").integer(0, INT64_MAX));
    return {storedTable(stored.at("table"), entries), {pid, start}};
}

void MacState::restore(Display& display, const Field& stored) {
    display.connected = stored.at("connected").boolean();
    display.session = storedLayer(stored.at("session"));
    display.permanent = storedLayer(stored.at("permanent"));
    display.brightness = static_cast<int>(stored.at("brightness").integer(0, 100));
    display.standby = stored.at("standby").boolean();
    display.droppedMessages =
        static_cast<int>(stored.at("droppedMessages").integer(0, mostDroppedMessages));
    if (stored.value().contains("id")) {
        (void)stored.at("id").word();
    }
    if (stored.value().contains("pluggings")) {
        display.pluggings = static_cast<int>(stored.at("pluggings").integer(0, INT32_MAX));
    }
    display.asleep = storedFlag(stored, "asleep");
    display.lidClosed = storedFlag(stored, "lidClosed");
    if (stored.value().contains("gamma")) {
        display.gamma = storedGamma(stored.at("gamma"), display.gammaCapacity);
    }
}

// IDs are stored as the scene has them, except for the one that a display has now.
nlohmann::json MacState::toJson(const Layer& layer) const {
    const Display* const master = find(layer.mirrors);
    nlohmann::json stored = {{"enabled", layer.enabled},
                             {"mirrors", master == nullptr ? layer.mirrors : master->sceneID}};
    if (layer.main) {
        stored["main"] = true;
    }
    return stored;
}

// What few Macs ever have is stored only where it is so.
nlohmann::json MacState::toJson(uint32_t id, const Display& display) const {
    nlohmann::json stored = {{"connected", display.connected},
                             {"session", toJson(display.session)},
                             {"permanent", toJson(display.permanent)},
                             {"brightness", display.brightness},
                             {"standby", display.standby},
                             {"droppedMessages", display.droppedMessages}};
    if (id != display.sceneID) {
        stored["id"] = id;
    }
    if (display.pluggings != 0) {
        stored["pluggings"] = display.pluggings;
    }
    if (display.asleep) {
        stored["asleep"] = true;
    }
    if (display.lidClosed) {
        stored["lidClosed"] = true;
    }
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
        stored[std::to_string(display.sceneID)] = toJson(id, display);
    }
    return stored;
}

// A scene that has gained a display of an ID that another one has got gives back all of its own.
void MacState::giveStoredIDs(const nlohmann::json& stored) {
    std::map<uint32_t, uint32_t> newIDs;
    std::set<uint32_t> taken;
    for (const uint32_t id : order_) {
        const auto found = stored.find(std::to_string(id));
        newIDs[id] = found == stored.end() ? id : found->value("id", id);
        if (newIDs[id] == 0 || !taken.insert(newIDs[id]).second) {
            return;
        }
    }
    renumber(newIDs);
}

void MacState::renumber(const std::map<uint32_t, uint32_t>& newIDs) {
    const auto renumbered = [&newIDs](uint32_t id) {
        const auto found = newIDs.find(id);
        return found == newIDs.end() ? id : found->second;
    };
    std::ranges::transform(order_, order_.begin(), renumbered);
    for (std::optional<uint32_t>* const id : {&sceneMain_, &habits_.gammaExitZeroes}) {
        *id = *id ? std::optional(renumbered(**id)) : std::nullopt;
    }
    std::map<uint32_t, Display> displays;
    for (auto& [id, display] : displays_) {
        display.session.mirrors = renumbered(display.session.mirrors);
        display.permanent.mirrors = renumbered(display.permanent.mirrors);
        displays[renumbered(id)] = std::move(display);
    }
    displays_ = std::move(displays);
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
    auto ids = displaysThat(&MacState::isOnline);
    return habits_.onlineStartsWithMain ? mainFirst(std::move(ids)) : ids;
}

// Documented: the first entry is the main display.
std::vector<uint32_t> MacState::mainFirst(std::vector<uint32_t> ids) const {
    const auto isMain = [this](uint32_t id) { return main() == id; };
    std::ranges::stable_partition(ids, isMain);
    return ids;
}

std::vector<uint32_t> MacState::active() const {
    return mainFirst(displaysThat(&MacState::isActive));
}

// Documented: a sleeping display stays part of the desktop.
std::vector<uint32_t> MacState::screens() const {
    return mainFirst(displaysThat(&MacState::hasDesktop));
}

// Assumed (next-main): the display that the user made the main one gets the menu bar back when it
// returns.
std::optional<uint32_t> MacState::main() const {
    const auto made =
        std::ranges::find_if(order_, [this](uint32_t id) { return displays_.at(id).session.main; });
    const auto wanted = made == order_.end() ? sceneMain_ : std::optional(*made);
    if (wanted && isOnline(*wanted)) {
        return mainOfSet(*wanted);
    }
    const auto first = std::ranges::find_if(order_, [this](uint32_t id) { return hasDesktop(id); });
    return first == order_.end() ? std::nullopt : std::optional(mainOfSet(*first));
}

// Documented: of a hardware mirror set the drawable display, its master, is main; of a software set
// typically the largest. Without sizes to compare that is the master, too. Assumed: mirror-main.
uint32_t MacState::mainOfSet(uint32_t id) const {
    const uint32_t master = mirrorMaster(id) == 0 ? id : mirrorMaster(id);
    const bool isLargest = habits_.mirrorMain == MirrorMain::largest ||
                           (habits_.mirrorMain == MirrorMain::asDocumented && softwareMirroring_);
    uint32_t largest = master;
    for (const uint32_t other : order_) {
        if (isLargest && mirrorMaster(other) == master &&
            displays_.at(other).pixels.area() > displays_.at(largest).pixels.area()) {
            largest = other;
        }
    }
    return largest;
}

int MacState::pluggings() const {
    int sum = 0;
    for (const auto& [id, display] : displays_) {
        sum += display.pluggings;
    }
    return sum;
}

bool MacState::looksLike(const MacState& other) const {
    const auto sameMaster = [&](uint32_t id) { return mirrorMaster(id) == other.mirrorMaster(id); };
    return known() == other.known() && online() == other.online() && screens() == other.screens() &&
           main() == other.main() && std::ranges::all_of(order_, sameMaster);
}

bool MacState::isConnected(uint32_t id) const {
    const Display* const display = find(id);
    return display != nullptr && display->connected;
}

bool MacState::isEnabled(uint32_t id) const {
    const Display* const display = find(id);
    return display != nullptr && display->session.enabled;
}

// Without a session there is no window server to know of any display.
bool MacState::isKnown(uint32_t id) const {
    return habits_.session && isConnected(id);
}

bool MacState::isOnline(uint32_t id) const {
    return isKnown(id) && isEnabled(id) && !isOffBehindClosedLid(id);
}

// Documented: a laptop with its lid closed may report no built-in display. While it has no other
// one it is asleep instead.
bool MacState::isOffBehindClosedLid(uint32_t id) const {
    const auto isInUse = [](const Display& display) {
        return display.connected && display.session.enabled && !display.lidClosed;
    };
    return displays_.at(id).lidClosed &&
           std::ranges::any_of(displays_, [&](const auto& other) { return isInUse(other.second); });
}

bool MacState::isAsleep(uint32_t id) const {
    const Display* const display = find(id);
    return display != nullptr && (display->asleep || display->lidClosed);
}

// Documented: a display that hardware mirrors another is online but not drawable, like one that
// sleeps.
bool MacState::isActive(uint32_t id) const {
    return isOnline(id) && !isAsleep(id) && (softwareMirroring_ || mirrorMaster(id) == 0);
}

bool MacState::hasDesktop(uint32_t id) const {
    return isOnline(id) && mirrorMaster(id) == 0;
}

// A mirror whose master is gone, or mirrors another display itself since it is back, shows its own
// picture again: sets are one deep. Assumed: mirror-one-deep.
uint32_t MacState::mirrorMaster(uint32_t id) const {
    if (!isOnline(id)) {
        return 0;
    }
    const uint32_t master = find(id)->session.mirrors;
    return isOnline(master) && !isOnline(find(master)->session.mirrors) ? master : 0;
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

bool MacState::keeps(bool permanently) const {
    return permanently && !habits_.permanentIsSession;
}

void MacState::setEnabled(uint32_t id, bool enabled, bool permanently) {
    const auto found = displays_.find(id);
    if (found == displays_.end()) {
        return;
    }
    Display& display = found->second;
    display.session.enabled = enabled;
    if (keeps(permanently)) {
        display.permanent.enabled = enabled;
    }
    if (!enabled && !habits_.gammaOutlivesDisabling) {
        display.gamma.reset();
    }
}

// A display that others mirror hands them on to its own master, and one that becomes a master no
// longer waits for its own to end its mirroring, so that sets stay one deep.
// Assumed: mirror-one-deep.
void MacState::setMirrorMaster(uint32_t id, uint32_t master, bool permanently) {
    const uint32_t root = master != 0 && mirrorMaster(master) != 0 ? mirrorMaster(master) : master;
    for (auto& [other, display] : displays_) {
        const bool isWaitingRoot = other == root && isOnline(display.session.mirrors);
        const bool followsMirror = root != 0 && display.session.mirrors == id;
        if (other != id && !isWaitingRoot && !followsMirror) {
            continue;
        }
        display.session.mirrors = other == root ? 0 : root;
        if (keeps(permanently)) {
            display.permanent.mirrors = display.session.mirrors;
        }
    }
}

void MacState::setMain(uint32_t id, bool permanently) {
    for (auto& [other, display] : displays_) {
        display.session.main = other == id;
        if (keeps(permanently)) {
            display.permanent.main = other == id;
        }
    }
}

void MacState::finishConfiguration(bool permanently) {
    for (auto& [id, display] : displays_) {
        if (keeps(permanently) && habits_.permanentKeepsAll) {
            display.permanent = display.session;
        }
    }
    reloadGamma();
}

void MacState::restorePermanent() {
    for (auto& [id, display] : displays_) {
        display.session = display.permanent;
    }
    reloadGamma();
}

void MacState::setConnected(Display& display, bool connected) {
    display.pluggings += display.connected != connected ? 1 : 0;
    display.connected = connected;
    reloadGamma();
}

// Without power over the cable the picture and its settings are gone; the monitor keeps its own.
void MacState::unplug(uint32_t id) {
    setConnected(displays_.at(id), false);
    displays_.at(id).gamma.reset();
}

// Reported by Mac users: a display that was disabled comes back enabled when it is plugged in anew.
void MacState::plug(uint32_t id) {
    Display& display = displays_.at(id);
    setConnected(display, true);
    display.standby = false;
    display.asleep = false;
    display.session.enabled = display.permanent.enabled = true;
}

// Reported of Apple silicon: numbers are given out when a monitor is found, and used again.
void MacState::plugAs(uint32_t id, uint32_t newID) {
    if (newID == 0) {
        throw std::invalid_argument("0 is no display");
    }
    if (newID != id && isConnected(newID)) {
        throw std::invalid_argument("display " + std::to_string(newID) + " is plugged in");
    }
    unplug(id);
    if (newID != id) {
        find(newID) == nullptr ? renumber({{id, newID}}) : renumber({{id, newID}, {newID, id}});
    }
    plug(newID);
}

void MacState::sleep() {
    for (auto& [id, display] : displays_) {
        display.asleep = true;
    }
    reloadGamma();
}

void MacState::wake() {
    for (auto& [id, display] : displays_) {
        display.asleep = false;
    }
    reloadGamma();
}

void MacState::closeLid(uint32_t builtin) {
    displays_.at(builtin).lidClosed = true;
    reloadGamma();
}

void MacState::openLid(uint32_t builtin) {
    displays_.at(builtin).lidClosed = false;
    reloadGamma();
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
    wake();
}

void MacState::rebootRenumbered() {
    reboot();
    std::map<uint32_t, uint32_t> newIDs;
    for (std::size_t i = 0; i < order_.size(); ++i) {
        newIDs[order_[i]] = order_[(i + 1) % order_.size()];
    }
    renumber(newIDs);
}

// Widely reported: the window server drops a table when the process that set it ends. Some Mac may
// not.
const MacState::OwnedGamma* MacState::liveGamma(uint32_t id) const {
    const Display* const display = find(id);
    const bool isThere = display != nullptr && display->gamma &&
                         (habits_.gammaOutlivesProcess || !hasEndedOwner(*display));
    return isThere ? &*display->gamma : nullptr;
}

bool MacState::hasEndedOwner(const Display& display) {
    return display.gamma && display.gamma->owner.pid != 0 && !isRunning(display.gamma->owner);
}

// Seen by others: the end of a process that has set a table leaves some display with a black one.
bool MacState::isZeroedByAnEnd(uint32_t id) const {
    return habits_.gammaExitZeroes == id && std::ranges::any_of(displays_, [](const auto& display) {
               return hasEndedOwner(display.second);
           });
}

GammaTable MacState::gamma(uint32_t id) const {
    const Display* const display = find(id);
    const std::size_t capacity = display == nullptr ? usualCapacity : display->gammaCapacity;
    if (isZeroedByAnEnd(id)) {
        return zeroGamma(capacity);
    }
    const OwnedGamma* const owned = liveGamma(id);
    return owned != nullptr ? owned->table : linearGamma(capacity);
}

void MacState::forgetEndedOwners() {
    const auto zeroed = habits_.gammaExitZeroes;
    const bool zeroes = zeroed && isZeroedByAnEnd(*zeroed);
    for (auto& [id, display] : displays_) {
        if (hasEndedOwner(display) && habits_.gammaOutlivesProcess) {
            display.gamma->owner = {};
        } else if (hasEndedOwner(display)) {
            display.gamma.reset();
        }
    }
    if (zeroes) {
        Display& display = displays_.at(*zeroed);
        display.gamma = OwnedGamma{zeroGamma(display.gammaCapacity), {}};
    }
}

std::string MacState::gammaKind(uint32_t id) const {
    const OwnedGamma* const owned = liveGamma(id);
    if (isZeroedByAnEnd(id) || (owned != nullptr && isZero(owned->table))) {
        return "zero";
    }
    return owned == nullptr || isLinear(owned->table) ? "normal" : "other";
}

void MacState::setGamma(uint32_t id, GammaTable table, const ProcessIdentity& owner) {
    replaceNonNumbers(table);
    if (const auto found = displays_.find(id); found != displays_.end()) {
        Display& display = found->second;
        display.gamma = OwnedGamma{resampled(table, display.gammaCapacity), owner};
    }
}

void MacState::resetGamma() {
    for (auto& [id, display] : displays_) {
        display.gamma.reset();
    }
}

// Reported: tables are read anew from the colour profiles when the arrangement changes, and at
// sleep and wake.
void MacState::reloadGamma() {
    if (habits_.gammaReloads) {
        resetGamma();
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
