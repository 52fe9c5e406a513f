#include "Veilpane/CommandLine/SelfTest.h"

#include "CDdc/ddc.h"
#include "Veilpane/CommandLine/ExitStatus.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayDisconnect.h"
#include "Veilpane/Power/DisplayPower.h"
#include "Veilpane/Support/StandardStreams.h"
#include "Veilpane/WindowServer/SkyLight.h"

#include <algorithm>
#include <string>

namespace veilpane {

namespace {

void describe(const DisplayItem& display) {
    printLine("- id=" + std::to_string(display.id) + " name=" + display.name + " main=" +
              boolText(display.isMain) + " ddc=" + boolText(ddc_can_control(display.id) != 0) +
              " disconnected=" + boolText(DisplayDisconnect::isSoftDisconnected(display.id)));
    printLine("  " + DisplayPower::statusLine(display.id));
}

// A monitor in standby by DDC looks like one that is on: nothing reads its power state back.
bool isObservedOff(CGDirectDisplayID displayID) {
    return DisplayDisconnect::isSoftDisconnected(displayID) ||
           BlackoutController::shared().isBlackedOut(displayID);
}

PowerResult switchAndReport(bool on, CGDirectDisplayID displayID) {
    PowerResult result = DisplayPower::setPower(on, displayID);
    printLine((on ? "on: method=" : "off: method=") + std::string(title(result.method)) +
              " success=" + boolText(result.success) + " " + result.message);
    return result;
}

int testDisplay(const DisplayItem& display) {
    printLine("testing SLS disconnect/reconnect on id=" + std::to_string(display.id) + " " +
              display.name + " ...");
    const PowerResult off = switchAndReport(false, display.id);
    const bool wentOff = isObservedOff(display.id);
    printLine("is_off_state=" + boolText(wentOff));
    const PowerResult on = switchAndReport(true, display.id);
    const bool cameOn = !isObservedOff(display.id);
    printLine("is_on_state=" + boolText(cameOn));

    if (off.success && wentOff && on.success && cameOn) {
        printLine("OK: power path works (disconnect preferred)");
        return ExitStatusSuccess;
    }
    if (off.success || on.success) {
        printLine("PARTIAL: some path worked");
        return ExitStatusSuccess;
    }
    printLine("FAIL: power path");
    return ExitStatusFailure;
}

} // namespace

int runSelfTest(const std::vector<DisplayItem>& displays) {
    printLine("Veilpane self-test");
    printLine("SLS disconnect supported: " + boolText(SkyLight::isAvailable()));
    printLine("Displays: " + std::to_string(displays.size()));
    if (displays.empty()) {
        printLine("FAIL: no displays");
        return ExitStatusFailure;
    }
    std::ranges::for_each(displays, describe);
    if (!SkyLight::isAvailable()) {
        printLine("SKIP: SLS API not available");
        return ExitStatusSuccess;
    }
    const auto chosen = std::ranges::find_if(displays, [](const DisplayItem& display) {
        return !display.isMain && !display.isDisconnected;
    });
    if (chosen == displays.end()) {
        printLine("SKIP: no non-main display to disconnect");
        printLine("OK: guards in place");
        return ExitStatusSuccess;
    }
    return testDisplay(*chosen);
}

} // namespace veilpane
