#include "SimulatedMac/World/AttendedMac.h"

#include "SimulatedMac/World/MacState.h"

#include <algorithm>
#include <stdexcept>

namespace simulated_mac {
namespace {

std::string nameOf(const SceneDisplay& display) {
    for (const auto& name : {display.profilerName, display.screenName, display.registryName}) {
        if (name && !name->empty()) {
            return *name;
        }
    }
    return {};
}

const SceneDisplay& displayOf(const RunningMac& mac, uint32_t id) {
    const SceneDisplay* const display = mac.sceneDisplay(id);
    if (display == nullptr) {
        throw std::invalid_argument("no display " + std::to_string(id));
    }
    return *display;
}

} // namespace

void AttendedMac::unplug(uint32_t id) {
    (void)displayOf(*this, id);
    change([id](MacState& state) { state.unplug(id); });
}

void AttendedMac::plug(uint32_t id) {
    (void)displayOf(*this, id);
    change([id](MacState& state) { state.plug(id); });
}

void AttendedMac::logOut() {
    change([](MacState& state) { state.logOut(); });
}

void AttendedMac::reboot() {
    change([](MacState& state) { state.reboot(); });
}

void AttendedMac::reset() {
    restoreScene();
}

DisplayStatus AttendedMac::display(uint32_t id) {
    const SceneDisplay& described = displayOf(*this, id);
    const MacState& current = state();
    DisplayStatus status;
    status.id = id;
    status.name = nameOf(described);
    status.connected = current.isConnected(id);
    status.enabled = current.isEnabled(id);
    status.online = current.isOnline(id);
    status.active = current.isActive(id);
    status.main = current.main() == id;
    status.mirrors = current.mirrorMaster(id);
    status.gamma = current.gammaKind(id);
    status.power = current.isInStandby(id) ? "standby" : "on";
    if (described.ddc) {
        status.brightness = current.brightness(id);
    }
    status.lit = status.online && status.power == "on" && status.gamma != "zero";
    return status;
}

std::vector<DisplayStatus> AttendedMac::displays() {
    std::vector<DisplayStatus> all;
    for (const SceneDisplay& described : scene().displays) {
        all.push_back(display(described.id));
    }
    std::ranges::sort(all, {}, &DisplayStatus::id);
    return all;
}

int AttendedMac::droppedMessages(uint32_t id) {
    (void)displayOf(*this, id);
    return state().droppedMessages(id);
}

std::vector<LoggedCall> AttendedMac::calls() {
    return callLog().read();
}

void AttendedMac::clearCalls() {
    callLog().clear();
}

} // namespace simulated_mac
