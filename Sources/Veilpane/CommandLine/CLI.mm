#include "Veilpane/CommandLine/CLI.h"

#include "CDdc/ddc.h"
#include "Veilpane/CommandLine/ExitStatus.h"
#include "Veilpane/CommandLine/SelfTest.h"
#include "Veilpane/Inventory/DisplayStore.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayDisconnect.h"
#include "Veilpane/Power/DisplayPower.h"
#include "Veilpane/Support/DecimalNumber.h"
#include "Veilpane/Support/StandardStreams.h"
#include "Veilpane/Support/UTF8Text.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <crt_externs.h>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace veilpane {

namespace {

using Arguments = std::vector<std::string>;

// As bytes, not through Foundation: an argument need not be valid UTF-8.
Arguments processArguments() {
    const char* const* const arguments = *_NSGetArgv();
    return {arguments, arguments + *_NSGetArgc()};
}

bool contains(const Arguments& arguments, const char* option) {
    return std::ranges::find(arguments, option) != arguments.end();
}

// Empty for what is no valid UTF-8.
std::string lowerCased(const std::string& word) {
    @autoreleasepool {
        NSString* const lower = [nsString(word) lowercaseString];
        return utf8Text(lower).value_or(std::string());
    }
}

// Lenient on purpose: every word that does not say on means off.
bool meansOn(const std::string& stateWord) {
    const std::string word = lowerCased(stateWord);
    return word == "on" || word == "1" || word == "true";
}

std::optional<CGDirectDisplayID> firstListedDisplay() {
    const auto displays = DisplayStore::shared().listDisplays();
    return displays.empty() ? std::nullopt : std::optional(displays.front().id);
}

// What is no display ID counts as none given. Whether such a display exists is not asked.
std::optional<CGDirectDisplayID> displayToSwitch(const std::string* operand) {
    const auto displayID = operand == nullptr ? std::nullopt : parseDecimalUInt32(*operand);
    return displayID ? displayID : firstListedDisplay();
}

int runPower(const std::string* stateWord, const std::string* displayOperand) {
    if (stateWord == nullptr) {
        printLine("usage: --power on|off [displayID]");
        return ExitStatusUsage;
    }
    const bool on = meansOn(*stateWord);
    const auto displayID = displayToSwitch(displayOperand);
    if (!displayID) {
        printLine("no display");
        return ExitStatusFailure;
    }
    const PowerResult result = DisplayPower::setPower(on, *displayID);
    printLine("method=" + std::string(title(result.method)) +
              " success=" + boolText(result.success));
    printLine(result.message);
    return result.success ? ExitStatusSuccess : ExitStatusFailure;
}

std::string flagsOf(const DisplayItem& display) {
    std::string flags;
    const auto add = [&flags](const char* flag) {
        flags += (flags.empty() ? "" : ",") + std::string(flag);
    };
    if (display.isMain) {
        add("main");
    }
    if (display.isBuiltIn) {
        add("builtin");
    }
    add(ddc_can_control(display.id) != 0 ? "ddc" : "no-ddc");
    if (display.isDisconnected) {
        add("disconnected");
    }
    if (DisplayDisconnect::isDisconnectedByUs(display.id)) {
        add("sls-off");
    }
    if (BlackoutController::shared().isBlackedOut(display.id)) {
        add("blackout");
    }
    return flags;
}

void runList(const std::vector<DisplayItem>& displays) {
    for (const DisplayItem& display : displays) {
        printLine(std::to_string(display.id) + "\t" + display.name + "\t" + flagsOf(display));
    }
}

const std::string* operandAt(const Arguments& arguments, Arguments::const_iterator option,
                             std::ptrdiff_t place) {
    return arguments.end() - option > place ? &option[place] : nullptr;
}

} // namespace

std::optional<int> CLI::run(const Arguments& arguments) {
    if (const auto power = std::ranges::find(arguments, "--power"); power != arguments.end()) {
        return runPower(operandAt(arguments, power, 1), operandAt(arguments, power, 2));
    }
    const bool wantsList = contains(arguments, "--list");
    if (!wantsList && !contains(arguments, "--selftest")) {
        return std::nullopt;
    }
    const auto displays = DisplayStore::shared().listDisplays();
    if (!wantsList) {
        return runSelfTest(displays);
    }
    runList(displays);
    return ExitStatusSuccess;
}

bool CLI::runIfNeeded() {
    const auto status = run(processArguments());
    if (status && *status != ExitStatusSuccess) {
        std::exit(*status);
    }
    return status.has_value();
}

} // namespace veilpane
