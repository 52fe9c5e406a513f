#include "SimulatedMac/World/AttendedMac.h"

#include "SimulatedMac/World/AttachedProcesses.h"
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

const SceneDisplay& displayOf(RunningMac& mac, uint32_t id) {
    (void)mac.state(); // so that the scene has the current IDs
    const SceneDisplay* const display = mac.sceneDisplay(id);
    if (display == nullptr) {
        throw std::invalid_argument("no display " + std::to_string(id));
    }
    return *display;
}

uint32_t builtinDisplay(RunningMac& mac) {
    (void)mac.state();
    const auto& displays = mac.scene().displays;
    const auto builtin = std::ranges::find(displays, true, &SceneDisplay::builtin);
    if (builtin == displays.end()) {
        throw std::invalid_argument("no built-in display");
    }
    return builtin->id;
}

void requireOnline(const MacState& state, uint32_t id) {
    if (!state.isOnline(id)) {
        throw std::invalid_argument("display " + std::to_string(id) + " is not online");
    }
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

void AttendedMac::plugAs(uint32_t id, uint32_t newID) {
    (void)displayOf(*this, id);
    change([=](MacState& state) { state.plugAs(id, newID); });
}

void AttendedMac::sleep() {
    change([](MacState& state) { state.sleep(); });
}

void AttendedMac::wake() {
    change([](MacState& state) { state.wake(); });
}

void AttendedMac::closeLid() {
    change([id = builtinDisplay(*this)](MacState& state) { state.closeLid(id); });
}

void AttendedMac::openLid() {
    change([id = builtinDisplay(*this)](MacState& state) { state.openLid(id); });
}

void AttendedMac::enable(uint32_t id) {
    (void)displayOf(*this, id);
    change([id](MacState& state) {
        if (!state.isConnected(id)) {
            throw std::invalid_argument("display " + std::to_string(id) + " is not plugged in");
        }
        state.setEnabled(id, true, true);
        state.finishConfiguration(true);
    });
}

void AttendedMac::disable(uint32_t id) {
    (void)displayOf(*this, id);
    change([id](MacState& state) {
        requireOnline(state, id);
        state.setEnabled(id, false, true);
        state.finishConfiguration(true);
    });
}

void AttendedMac::makeMain(uint32_t id) {
    (void)displayOf(*this, id);
    change([id](MacState& state) {
        requireOnline(state, id);
        state.setMain(id, true);
        state.finishConfiguration(true);
    });
}

void AttendedMac::mirror(uint32_t id, uint32_t master) {
    if (id == master) {
        throw std::invalid_argument("display " + std::to_string(id) + " cannot mirror itself");
    }
    (void)displayOf(*this, id);
    if (master != 0) {
        (void)displayOf(*this, master);
    }
    change([=](MacState& state) {
        requireOnline(state, id);
        if (master != 0) {
            requireOnline(state, master);
        }
        state.setMirrorMaster(id, master, true);
        state.finishConfiguration(true);
    });
}

// A program in whose call this happens cannot wait for its own end.
void AttendedMac::endSession(const std::function<void(MacState&)>& apply) {
    if (!isWithinCall()) {
        processes().endOthers();
        return changeAtOnce(apply);
    }
    callLog().flush();
    processes().endAll([&] { changeAtOnce(apply); });
}

void AttendedMac::logOut() {
    endSession([](MacState& state) { state.logOut(); });
}

void AttendedMac::reboot() {
    endSession([](MacState& state) { state.reboot(); });
}

void AttendedMac::rebootRenumbered() {
    endSession([](MacState& state) { state.rebootRenumbered(); });
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
    status.asleep = current.isAsleep(id);
    status.lit = status.connected && status.enabled && !status.asleep && status.power == "on" &&
                 status.gamma != "zero";
    return status;
}

std::vector<DisplayStatus> AttendedMac::displays() {
    std::vector<DisplayStatus> all;
    (void)state(); // so that the scene has the current IDs
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
