// dlopen and its kin for the two frameworks that the program opens at run time. System libraries
// are no files since macOS 11, so their paths are known here; every other one goes to the real
// loader.
//
// The linker redirects the program's own calls (--wrap); libraries keep the real functions.

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/Calls/DisplayConfiguration.h"
#include "SimulatedMac/Calls/DisplayList.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/RunningMac.h"

#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <string>

using namespace simulated_mac;

extern "C" {

io_service_t CGDisplayIOServicePort(CGDirectDisplayID display);

void* __real_dlopen(const char* path, int mode);
void* __real_dlsym(void* library, const char* symbol);
int __real_dlclose(void* library);
void* __wrap_dlopen(const char* path, int mode);
void* __wrap_dlsym(void* library, const char* symbol);
int __wrap_dlclose(void* library);

} // extern "C"

namespace {

constexpr const char* skyLightPath =
    "/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight";
constexpr const char* coreGraphicsPath =
    "/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics";

// A loaded image has one handle however often it is opened.
char skyLightImage;
char coreGraphicsImage;

bool isOurs(const void* library) {
    return library == &skyLightImage || library == &coreGraphicsImage;
}

CGError SLSConfigureDisplayEnabled(CGDisplayConfigRef config, CGDirectDisplayID display,
                                   bool enabled) {
    Call call(__func__, {numberOf(config), display, enabled});
    requireLive(config, __func__);
    if (call.failed()) {
        return call.returns(call.failure<CGError>());
    }
    if (!RunningMac::current().state().isKnown(display)) {
        return call.returns(kCGErrorIllegalArgument);
    }
    addChange(config, [display, enabled](MacState& state, bool permanently) {
        state.setEnabled(display, enabled, permanently);
    });
    return call.returns(kCGErrorSuccess);
}

CGError SLSGetDisplayList(uint32_t capacity, CGDirectDisplayID* displays, uint32_t* count) {
    Call call(__func__, {capacity});
    if (call.failed()) {
        return call.returns(call.failure<CGError>());
    }
    auto all =
        call.yieldsNull() ? std::vector<uint32_t>() : RunningMac::current().lateState().known();
    return answerWithList(call, std::move(all), capacity, displays, count);
}

void* symbolOf(const void* library, const std::string& symbol) {
    if (library == &coreGraphicsImage) {
        return symbol == "CGDisplayIOServicePort" ? reinterpret_cast<void*>(&CGDisplayIOServicePort)
                                                  : nullptr;
    }
    const auto exported =
        RunningMac::current().scene().skyLight.value_or(std::vector<std::string>());
    if (std::ranges::find(exported, symbol) == exported.end()) {
        return nullptr;
    }
    return symbol == "SLSGetDisplayList" ? reinterpret_cast<void*>(&SLSGetDisplayList)
                                         : reinterpret_cast<void*>(&SLSConfigureDisplayEnabled);
}

void* open(const std::string& path) {
    if (path == coreGraphicsPath) {
        ledger::opened(Resource::loaderHandle, ledger::handle(&coreGraphicsImage),
                       "handle of " + path);
        return &coreGraphicsImage;
    }
    if (!RunningMac::current().scene().skyLight) {
        return nullptr;
    }
    // Left open on purpose: the addresses found in it stay in use.
    ledger::opened(Resource::loaderHandle, ledger::handle(&skyLightImage), "handle of " + path);
    ledger::exempt(Resource::loaderHandle, ledger::handle(&skyLightImage));
    return &skyLightImage;
}

} // namespace

/// The functions for the images that are known here, under the names that the call log tells.
namespace simulated {
namespace {

void* dlopen(const char* path, int mode) {
    Call call(__func__, {path, mode});
    void* const library = call.failed() || call.yieldsNull() ? nullptr : open(path);
    return call.returns(library, library != nullptr);
}

void* dlsym(void* library, const char* symbol) {
    Call call(__func__, {symbol});
    ledger::requireOpen(Resource::loaderHandle, ledger::handle(library), __func__);
    void* const address = call.failed() || call.yieldsNull() ? nullptr : symbolOf(library, symbol);
    return call.returns(address, address != nullptr);
}

int dlclose(void* library) {
    Call call(__func__, nlohmann::json::array());
    ledger::closed(Resource::loaderHandle, ledger::handle(library), __func__);
    return call.returns(call.failed() ? call.failure<int>() : 0);
}

} // namespace
} // namespace simulated

extern "C" {

void* __wrap_dlopen(const char* path, int mode) {
    if (path == nullptr ||
        (path != std::string(skyLightPath) && path != std::string(coreGraphicsPath))) {
        return __real_dlopen(path, mode);
    }
    return simulated::dlopen(path, mode);
}

void* __wrap_dlsym(void* library, const char* symbol) {
    return isOurs(library) ? simulated::dlsym(library, symbol) : __real_dlsym(library, symbol);
}

int __wrap_dlclose(void* library) {
    return isOurs(library) ? simulated::dlclose(library) : __real_dlclose(library);
}

} // extern "C"
