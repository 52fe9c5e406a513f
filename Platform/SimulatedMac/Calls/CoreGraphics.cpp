// CoreGraphics display services on the simulated Mac.

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/Calls/DisplayConfiguration.h"
#include "SimulatedMac/Calls/DisplayList.h"
#include "SimulatedMac/Calls/Registry.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/RunningMac.h"

#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <vector>

using namespace simulated_mac;

namespace {

const MacState& state() {
    return RunningMac::current().state();
}

/// What a failing call leaves behind is not specified: something that no caller can mistake for
/// good.
constexpr uint32_t garbage = 0xDEADBEEF;

CGError list(const char* name, std::vector<uint32_t> (MacState::*query)() const, uint32_t capacity,
             CGDirectDisplayID* displays, uint32_t* count) {
    Call call(name, {capacity});
    if (call.failed()) {
        if (count != nullptr) {
            *count = garbage;
        }
        return call.returns(call.failure<CGError>());
    }
    auto all = call.yieldsNull() ? std::vector<uint32_t>() : (state().*query)();
    return answerWithList(call, std::move(all), capacity, displays, count);
}

/// The answer is looked for when the call has begun: the Mac may change just before.
template <class Answer, class LookUp>
Answer question(const char* name, CGDirectDisplayID display, const LookUp& answer) {
    Call call(name, {display});
    if (call.failed()) {
        return call.returns(call.failure<Answer>());
    }
    return call.returns(call.yieldsNull() ? Answer(0) : Answer(answer()));
}

boolean_t answerAboutUnknown(const char* question) {
    const auto& answers = RunningMac::current().scene().unknownDisplayAnswers;
    const auto answer = answers.find(question);
    return answer == answers.end() ? 0 : boolean_t(answer->second);
}

// Reported of current macOS: questions about a display that is in no list can answer otherwise than
// no.
template <class Answer>
boolean_t stateOf(const char* name, CGDirectDisplayID display, Answer answer) {
    return question<boolean_t>(name, display, [=] {
        return state().isKnown(display) ? boolean_t(answer()) : answerAboutUnknown(name);
    });
}

// Documented values for a display without a monitor.
uint32_t identity(const char* name, CGDirectDisplayID display, uint32_t SceneDisplay::* member) {
    return question<uint32_t>(name, display, [=] {
        const bool present = state().isConnected(display);
        const SceneDisplay* const described = RunningMac::current().sceneDisplay(display);
        return present ? described->*member : 0xFFFFFFFF;
    });
}

// Assumed (disabled-has-no-picture): what is not online has no mode, and thus no size.
PixelSize sizeOf(CGDirectDisplayID display) {
    return state().isOnline(display) ? RunningMac::current().sceneDisplay(display)->pixels
                                     : PixelSize();
}

bool canReadGamma(CGDirectDisplayID display) {
    return state().isOnline(display) && RunningMac::current().sceneDisplay(display)->gamma;
}

/// What a caller with room for `capacity` entries gets of a display's tables.
GammaTable readableGamma(CGDirectDisplayID display, uint32_t capacity) {
    const SceneDisplay& described = *RunningMac::current().sceneDisplay(display);
    const GammaReading reading =
        described.gammaReading.value_or(RunningMac::current().scene().gammaReading);
    GammaTable table = state().gamma(display);
    return capacity < described.gammaCapacity && reading == GammaReading::resample
               ? resampled(table, capacity)
               : table;
}

// A table that is shorter than the caller's leaves the rest of it as it was.
uint32_t copyChannel(const std::vector<float>& channel, uint32_t capacity, CGGammaValue* table) {
    const auto count = static_cast<uint32_t>(std::min<std::size_t>(channel.size(), capacity));
    std::copy_n(channel.begin(), count, table);
    return count;
}

std::vector<float> channelFrom(const CGGammaValue* table, uint32_t size) {
    return {table, table + size};
}

} // namespace

extern "C" {

CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               uint32_t* displayCount) {
    return list(__func__, &MacState::active, maxDisplays, activeDisplays, displayCount);
}

CGError CGGetOnlineDisplayList(uint32_t maxDisplays, CGDirectDisplayID* onlineDisplays,
                               uint32_t* displayCount) {
    return list(__func__, &MacState::online, maxDisplays, onlineDisplays, displayCount);
}

boolean_t CGDisplayIsActive(CGDirectDisplayID display) {
    return stateOf(__func__, display, [=] { return state().isActive(display); });
}

boolean_t CGDisplayIsOnline(CGDirectDisplayID display) {
    return stateOf(__func__, display, [=] { return state().isOnline(display); });
}

boolean_t CGDisplayIsMain(CGDirectDisplayID display) {
    return stateOf(__func__, display, [=] { return state().main() == display; });
}

boolean_t CGDisplayIsBuiltin(CGDirectDisplayID display) {
    return stateOf(__func__, display, [=] {
        return state().isConnected(display) && RunningMac::current().sceneDisplay(display)->builtin;
    });
}

boolean_t CGDisplayIsInMirrorSet(CGDirectDisplayID display) {
    return stateOf(__func__, display, [=] { return state().isInMirrorSet(display); });
}

CGDirectDisplayID CGDisplayMirrorsDisplay(CGDirectDisplayID display) {
    return question<CGDirectDisplayID>(__func__, display,
                                       [=] { return state().mirrorMaster(display); });
}

size_t CGDisplayPixelsWide(CGDirectDisplayID display) {
    return question<size_t>(__func__, display, [=] { return sizeOf(display).width; });
}

size_t CGDisplayPixelsHigh(CGDirectDisplayID display) {
    return question<size_t>(__func__, display, [=] { return sizeOf(display).height; });
}

uint32_t CGDisplayGammaTableCapacity(CGDirectDisplayID display) {
    return question<uint32_t>(__func__, display, [=] {
        return canReadGamma(display) ? RunningMac::current().sceneDisplay(display)->gammaCapacity
                                     : 0;
    });
}

uint32_t CGDisplayVendorNumber(CGDirectDisplayID display) {
    return identity(__func__, display, &SceneDisplay::vendor);
}

uint32_t CGDisplayModelNumber(CGDirectDisplayID display) {
    return identity(__func__, display, &SceneDisplay::model);
}

io_service_t CGDisplayIOServicePort(CGDirectDisplayID display) {
    Call call(__func__, {display});
    const bool answers = !call.failed() && !call.yieldsNull();
    return call.returns(answers ? servicePortForDisplay(display) : IO_OBJECT_NULL);
}

CGError CGBeginDisplayConfiguration(CGDisplayConfigRef* config) {
    Call call(__func__, nlohmann::json::array());
    if (call.failed()) {
        return call.returns(call.failure<CGError>());
    }
    // Over ssh there is no window server to configure.
    if (!RunningMac::current().scene().habits.session) {
        return call.returns(kCGErrorCannotComplete);
    }
    if (call.yieldsNull()) {
        *config = nullptr;
        return call.returns(kCGErrorSuccess);
    }
    *config = beginConfiguration();
    call.note("config", numberOf(*config));
    return call.returns(kCGErrorSuccess);
}

CGError CGConfigureDisplayMirrorOfDisplay(CGDisplayConfigRef config, CGDirectDisplayID display,
                                          CGDirectDisplayID master) {
    Call call(__func__, {numberOf(config), display, master});
    requireLive(config, __func__);
    if (call.failed()) {
        return call.returns(call.failure<CGError>());
    }
    const bool possible = state().isOnline(display) && display != master &&
                          (master == kCGNullDirectDisplay || state().isOnline(master));
    if (!possible) {
        return call.returns(kCGErrorIllegalArgument);
    }
    addChange(config, [display, master](MacState& changed, bool permanently) {
        changed.setMirrorMaster(display, master, permanently);
    });
    return call.returns(kCGErrorSuccess);
}

CGError CGCancelDisplayConfiguration(CGDisplayConfigRef config) {
    Call call(__func__, {numberOf(config)});
    const CGError error = cancelConfiguration(config, __func__);
    return call.returns(call.failed() ? call.failure<CGError>() : error);
}

CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option) {
    Call call(__func__, {numberOf(config), uint32_t(option)});
    if (call.failed()) {
        spendConfiguration(config, __func__);
        return call.returns(call.failure<CGError>());
    }
    const CGError error = completeConfiguration(config, option, __func__);
    if (call.failsWithEffect()) {
        markFailed(config);
    }
    return call.returns(error);
}

void CGRestorePermanentDisplayConfiguration() {
    const Call call(__func__, nlohmann::json::array());
    if (!call.failed()) {
        RunningMac::current().change([](MacState& changed) { changed.restorePermanent(); });
    }
}

CGError CGGetDisplayTransferByTable(CGDirectDisplayID display, uint32_t capacity,
                                    CGGammaValue* redTable, CGGammaValue* greenTable,
                                    CGGammaValue* blueTable, uint32_t* sampleCount) {
    Call call(__func__, {display, capacity});
    if (call.failed()) {
        return call.returns(call.failure<CGError>());
    }
    if (!canReadGamma(display)) {
        return call.returns(kCGErrorIllegalArgument);
    }
    if (call.yieldsNull()) {
        return call.returns(kCGErrorSuccess);
    }
    const GammaTable table = readableGamma(display, capacity);
    const uint32_t room =
        call.fault() ? std::min(capacity, call.fault()->samples.value_or(capacity)) : capacity;
    const uint32_t count = copyChannel(table[0], room, redTable);
    copyChannel(table[1], room, greenTable);
    copyChannel(table[2], room, blueTable);
    if (sampleCount != nullptr) {
        *sampleCount = count;
    }
    return call.returns(kCGErrorSuccess);
}

CGError CGSetDisplayTransferByTable(CGDirectDisplayID display, uint32_t tableSize,
                                    const CGGammaValue* redTable, const CGGammaValue* greenTable,
                                    const CGGammaValue* blueTable) {
    Call call(__func__, {display, tableSize});
    if (call.failed()) {
        return call.returns(call.failure<CGError>());
    }
    if (!state().isOnline(display) || tableSize == 0) {
        return call.returns(kCGErrorIllegalArgument);
    }
    const GammaTable table = {channelFrom(redTable, tableSize), channelFrom(greenTable, tableSize),
                              channelFrom(blueTable, tableSize)};
    RunningMac::current().change(
        [&](MacState& changed) { changed.setGamma(display, table, thisProcess()); });
    call.note("gamma", state().gammaKind(display));
    return call.returns(kCGErrorSuccess);
}

void CGDisplayRestoreColorSyncSettings() {
    const Call call(__func__, nlohmann::json::array());
    if (!call.failed()) {
        RunningMac::current().change([](MacState& changed) { changed.resetGamma(); });
    }
}

} // extern "C"
