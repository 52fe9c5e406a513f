#include "Veilpane/Power/BlackoutController.h"

#include "CDdc/ddc.h"
#include "Veilpane/Power/DDCPower.h"
#include "Veilpane/WindowServer/DisplayLists.h"
#include "Veilpane/WindowServer/DisplayTransaction.h"

#include <algorithm>
#include <cstdint>
#include <ranges>
#include <utility>

namespace {

constexpr std::uint32_t listCapacity = 16;
constexpr std::uint32_t gammaTableSize = 256;

constexpr std::uint8_t vcpBrightness = 0x10;
constexpr std::uint16_t darkest = 0;
constexpr std::uint16_t brightest = 100; // percent

// Session scope: a mirror that the program could not end itself ends with the login session.
bool setMirrorMaster(CGDirectDisplayID displayID, CGDirectDisplayID master) {
    auto transaction = DisplayTransaction::begin();
    if (!transaction) {
        return false;
    }
    if (CGConfigureDisplayMirrorOfDisplay(transaction->get(), displayID, master) !=
        kCGErrorSuccess) {
        return false;
    }
    return transaction->complete(kCGConfigureForSession) == kCGErrorSuccess;
}

} // namespace

BlackoutController& BlackoutController::shared() {
    static BlackoutController controller;
    return controller;
}

void BlackoutController::blackout(CGDirectDisplayID displayID) {
    if (isBlackedOut(displayID)) {
        return;
    }
    State state;
    const auto master = pickMirrorSource(displayID);
    if (master && startMirror(displayID, *master)) {
        state.mirroredFrom = master;
        state.usedMirror = true;
    }
    saveAndZeroGamma(displayID, state);
    state.zeroedDDCBrightness = zeroBrightness(displayID);
    states_.emplace(displayID, std::move(state));
}

void BlackoutController::restore(CGDirectDisplayID displayID) {
    if (const auto state = takeState(displayID)) {
        if (state->zeroedDDCBrightness) {
            try {
                DDC::setVCP(vcpBrightness, brightest, displayID);
            } catch (const DDCError&) {
                // The user turns the brightness up at the monitor; the picture matters more.
            }
        }
        restoreGamma(displayID, *state);
    }
    forceUnmirrorIfNeeded(displayID);
}

void BlackoutController::restoreAll() {
    for (const CGDirectDisplayID displayID : blackedOutDisplays()) {
        if (const auto state = takeState(displayID)) {
            if (state->zeroedDDCBrightness) {
                ddc_set_vcp(displayID, vcpBrightness, brightest);
            }
            restoreGamma(displayID, *state);
        }
        forceUnmirrorIfNeeded(displayID);
    }
    const auto online = onlineDisplays(listCapacity);
    for (const CGDirectDisplayID displayID : online.value_or(std::vector<CGDirectDisplayID>())) {
        forceUnmirrorIfNeeded(displayID);
    }
}

bool BlackoutController::isBlackedOut(CGDirectDisplayID displayID) const {
    return states_.contains(displayID);
}

std::optional<CGDirectDisplayID> BlackoutController::pickMirrorSource(CGDirectDisplayID excluded) {
    auto candidates = activeDisplays(listCapacity).value_or(std::vector<CGDirectDisplayID>());
    std::erase_if(candidates, [excluded](CGDirectDisplayID displayID) {
        return displayID == excluded || CGDisplayIsActive(displayID) == 0;
    });
    if (candidates.empty()) {
        return std::nullopt;
    }
    const auto main = std::ranges::find_if(
        candidates, [](CGDirectDisplayID displayID) { return CGDisplayIsMain(displayID) != 0; });
    return main != candidates.end() ? *main : candidates.front();
}

bool BlackoutController::startMirror(CGDirectDisplayID slave, CGDirectDisplayID master) {
    return slave != master && setMirrorMaster(slave, master);
}

void BlackoutController::saveAndZeroGamma(CGDirectDisplayID displayID, State& state) {
    const std::vector<CGGammaValue> zeros(gammaTableSize, 0);
    std::vector<CGGammaValue> red = zeros;
    std::vector<CGGammaValue> green = zeros;
    std::vector<CGGammaValue> blue = zeros;
    if (CGGetDisplayTransferByTable(displayID, gammaTableSize, red.data(), green.data(),
                                    blue.data(), nullptr) == kCGErrorSuccess) {
        state.savedRed = std::move(red);
        state.savedGreen = std::move(green);
        state.savedBlue = std::move(blue);
    }
    CGSetDisplayTransferByTable(displayID, gammaTableSize, zeros.data(), zeros.data(),
                                zeros.data());
}

bool BlackoutController::zeroBrightness(CGDirectDisplayID displayID) {
    if (ddc_can_control(displayID) != 1) {
        return false;
    }
    try {
        DDC::setVCP(vcpBrightness, darkest, displayID);
        return true;
    } catch (const DDCError&) {
        return false;
    }
}

// Without saved tables only the reset of all displays' colour settings is left.
void BlackoutController::restoreGamma(CGDirectDisplayID displayID, const State& state) {
    if (state.savedRed.empty()) {
        CGDisplayRestoreColorSyncSettings();
        return;
    }
    CGSetDisplayTransferByTable(displayID, static_cast<std::uint32_t>(state.savedRed.size()),
                                state.savedRed.data(), state.savedGreen.data(),
                                state.savedBlue.data());
}

void BlackoutController::forceUnmirrorIfNeeded(CGDirectDisplayID displayID) {
    if (CGDisplayIsInMirrorSet(displayID) != 0 && CGDisplayIsMain(displayID) == 0) {
        setMirrorMaster(displayID, kCGNullDirectDisplay);
    }
}

std::optional<BlackoutController::State>
BlackoutController::takeState(CGDirectDisplayID displayID) {
    auto entry = states_.extract(displayID);
    return entry ? std::optional(std::move(entry.mapped())) : std::nullopt;
}

std::vector<CGDirectDisplayID> BlackoutController::blackedOutDisplays() const {
    const auto displays = std::views::keys(states_);
    return {displays.begin(), displays.end()};
}
