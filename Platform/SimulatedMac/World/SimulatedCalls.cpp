#include "SimulatedMac/World/SimulatedCalls.h"

#include <algorithm>
#include <array>
#include <limits>

namespace simulated_mac {
namespace {

using enum CallResult;

constexpr auto calls = std::to_array<SimulatedCall>({
    {"CFArrayGetCount", number},
    {"CFArrayGetValueAtIndex", object},
    {"CFBooleanGetValue", byte},
    {"CFDataGetBytes", nothing},
    {"CFDataGetLength", number},
    {"CFDictionaryGetCount", number},
    {"CFDictionaryGetKeysAndValues", nothing},
    {"CFDictionaryGetValue", object},
    {"CFNumberGetValue", byte},
    {"CFStringGetBytes", number},
    {"CFStringGetCString", byte},
    {"CFStringGetLength", number},
    {"CFStringGetMaximumSizeForEncoding", number},
    {"CGBeginDisplayConfiguration", status},
    {"CGCancelDisplayConfiguration", status},
    {"CGCompleteDisplayConfiguration", status, failuresWithEffect},
    {"CGConfigureDisplayMirrorOfDisplay", status, failuresWithEffect},
    {"CGDisplayGammaTableCapacity", word},
    {"CGDisplayIOServicePort", object},
    {"CGDisplayIsActive", truth},
    {"CGDisplayIsBuiltin", truth},
    {"CGDisplayIsInMirrorSet", truth},
    {"CGDisplayIsMain", truth},
    {"CGDisplayIsOnline", truth},
    {"CGDisplayMirrorsDisplay", word},
    {"CGDisplayModelNumber", word},
    {"CGDisplayPixelsHigh", number},
    {"CGDisplayPixelsWide", number},
    {"CGDisplayRestoreColorSyncSettings", nothing},
    {"CGDisplayVendorNumber", word},
    {"CGGetActiveDisplayList", status, listFaults},
    {"CGGetDisplayTransferByTable", status, gammaSamples},
    {"CGGetOnlineDisplayList", status, listFaults},
    {"CGRestorePermanentDisplayConfiguration", nothing},
    {"CGSetDisplayTransferByTable", status, failuresWithEffect},
    {"IOFBCopyI2CInterfaceForBus", status},
    {"IOFBGetI2CInterfaceCount", status},
    {"IOI2CInterfaceClose", status},
    {"IOI2CInterfaceOpen", status},
    {"IOI2CSendRequest", status, requestResults | failuresWithEffect},
    {"IOIteratorNext", object},
    {"IOObjectConformsTo", truth},
    {"IOObjectGetClass", status},
    {"IOObjectRelease", status},
    {"IOObjectRetain", status},
    {"IORegistryEntryCreateCFProperty", object},
    {"IORegistryEntryGetChildIterator", status},
    {"IORegistryEntryGetRegistryEntryID", status},
    {"IOServiceGetMatchingServices", status},
    {"IOServiceMatching", object},
    {"NSBeep", nothing},
    {"NSScreen.screens", object},
    {"NSUserDefaults.arrayForKey", object},
    {"NSUserDefaults.setObject", nothing},
    {"NSUserDefaults.synchronize", byte},
    {"SLSConfigureDisplayEnabled", status, failuresWithEffect},
    {"SLSGetDisplayList", status, listFaults},
    {"dlclose", status},
    {"dlopen", object},
    {"dlsym", object},
    {"fcntl", number, errorNumbers},
    {"pipe", number, errorNumbers},
    {"posix_spawn", status},
    {"read", number, errorNumbers},
    {"sysctlbyname", number, errorNumbers},
    {"waitpid", number, errorNumbers | failuresWithEffect},
});
static_assert(std::ranges::is_sorted(calls, {}, &SimulatedCall::name));

template <class Number>
bool isWithin(int64_t value) {
    return value >= std::numeric_limits<Number>::min() &&
           value <= std::numeric_limits<Number>::max();
}

} // namespace

std::span<const SimulatedCall> simulatedCalls() {
    return calls;
}

const SimulatedCall* findSimulatedCall(std::string_view name) {
    const auto* const found = std::ranges::lower_bound(calls, name, {}, &SimulatedCall::name);
    return found != calls.end() && found->name == name ? found : nullptr;
}

bool fits(int64_t value, CallResult result) {
    switch (result) {
    case nothing:
    case object:
        return value == 0;
    case status: // codes such as 0xE00002C0 are written with and without their sign
        return isWithin<int32_t>(value) || isWithin<uint32_t>(value);
    case truth:
        return isWithin<int32_t>(value);
    case byte:
        return isWithin<uint8_t>(value);
    case word:
        return isWithin<uint32_t>(value);
    case number:
        return true;
    }
    return false;
}

std::string nameOf(CallResult result) {
    switch (result) {
    case nothing:
        return "nothing";
    case status:
        return "a status";
    case truth:
        return "a boolean_t";
    case byte:
        return "a Boolean";
    case word:
        return "an unsigned word";
    case number:
        return "a number";
    case object:
        return "an object";
    }
    return "";
}

} // namespace simulated_mac
