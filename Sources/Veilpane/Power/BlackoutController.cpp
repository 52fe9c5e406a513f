#include "Veilpane/Power/BlackoutController.h"

#include "CDdc/ddc.h"
#include "Veilpane/Power/DDCPower.h"
#include "Veilpane/WindowServer/DisplayLists.h"
#include "Veilpane/WindowServer/DisplayTransaction.h"

#include <algorithm>
#include <cstdint>
#include <ranges>
#include <utility>

namespace veilpane {

namespace {

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

// The main display where it can serve: it is the one that is never switched off.
std::optional<CGDirectDisplayID> pickMirrorSource(CGDirectDisplayID excluded) {
    auto candidates = activeDisplays(switchingCapacity).value_or(std::vector<CGDirectDisplayID>());
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

bool startMirror(CGDirectDisplayID slave, CGDirectDisplayID master) {
    return slave != master && setMirrorMaster(slave, master);
}

void forceUnmirrorIfNeeded(CGDirectDisplayID displayID) {
    if (CGDisplayIsInMirrorSet(displayID) != 0 && CGDisplayIsMain(displayID) == 0) {
        setMirrorMaster(displayID, kCGNullDirectDisplay);
    }
}

bool zeroBrightness(CGDirectDisplayID displayID) {
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

} // namespace

BlackoutController& BlackoutController::shared() {
    // AppKit may call the delegate, which asks for it, while the process exits.
    [[clang::no_destroy]] static BlackoutController controller;
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
    state.saveAndZeroGamma(displayID);
    state.zeroedDDCBrightness = zeroBrightness(displayID);
    states_.emplace(displayID, std::move(state));
}

void BlackoutController::restore(CGDirectDisplayID displayID) {
    if (const auto entry = states_.extract(displayID)) {
        entry.mapped().restoreBrightness(displayID);
        entry.mapped().restoreGamma(displayID);
    }
    forceUnmirrorIfNeeded(displayID);
}

void BlackoutController::restoreAll() {
    std::ranges::for_each(blackedOutDisplays(),
                          [this](CGDirectDisplayID displayID) { restore(displayID); });
    const auto online = onlineDisplays(switchingCapacity);
    std::ranges::for_each(online.value_or(std::vector<CGDirectDisplayID>()), forceUnmirrorIfNeeded);
}

bool BlackoutController::isBlackedOut(CGDirectDisplayID displayID) const {
    return states_.contains(displayID);
}

void BlackoutController::State::saveAndZeroGamma(CGDirectDisplayID displayID) {
    const std::vector<CGGammaValue> zeros(gammaTableSize, 0);
    std::vector<CGGammaValue> red = zeros;
    std::vector<CGGammaValue> green = zeros;
    std::vector<CGGammaValue> blue = zeros;
    if (CGGetDisplayTransferByTable(displayID, gammaTableSize, red.data(), green.data(),
                                    blue.data(), nullptr) == kCGErrorSuccess) {
        savedRed = std::move(red);
        savedGreen = std::move(green);
        savedBlue = std::move(blue);
    }
    CGSetDisplayTransferByTable(displayID, gammaTableSize, zeros.data(), zeros.data(),
                                zeros.data());
}

void BlackoutController::State::restoreBrightness(CGDirectDisplayID displayID) const {
    if (!zeroedDDCBrightness) {
        return;
    }
    try {
        DDC::setVCP(vcpBrightness, brightest, displayID);
    } catch (const DDCError&) {
        // The user turns the brightness up at the monitor; the picture matters more.
    }
}

// Without saved tables only the reset of all displays' colour settings is left.
void BlackoutController::State::restoreGamma(CGDirectDisplayID displayID) const {
    if (savedRed.empty()) {
        CGDisplayRestoreColorSyncSettings();
        return;
    }
    CGSetDisplayTransferByTable(displayID, static_cast<std::uint32_t>(savedRed.size()),
                                savedRed.data(), savedGreen.data(), savedBlue.data());
}

std::vector<CGDirectDisplayID> BlackoutController::blackedOutDisplays() const {
    const auto displays = std::views::keys(states_);
    return {displays.begin(), displays.end()};
}

} // namespace veilpane
