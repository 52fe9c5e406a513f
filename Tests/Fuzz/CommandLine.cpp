// Whatever the program is started with: the first line is its name, each other one an argument. A
// program with the name "refused" finds a SkyLight that refuses every change.

#include "CDdc/ddc.h"
#include "Fuzz/FuzzInput.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"
#include "Veilpane/CommandLine/CLI.h"
#include "Veilpane/CommandLine/ExitStatus.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayPower.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

using namespace veilpane;
using simulated_mac::DisplayStatus;
using simulated_mac::Mac;
using Arguments = std::vector<std::string>;

Mac& desk() {
    static Mac& mac = Mac::boot(R"({ "displays": [
        { "id": 1, "builtin": true, "main": true, "profilerName": "Color LCD" },
        { "id": 2, "profilerName": "Studio", "ddc": { "brightness": 40 } },
        { "id": 3, "screenName": "显示器" } ] })");
    return mac;
}

// As a process gets them: no argument holds a zero character.
Arguments argumentsIn(const std::string& input) {
    Arguments arguments;
    std::istringstream lines(input);
    for (std::string line; std::getline(lines, line);) {
        arguments.emplace_back(line.c_str());
    }
    return arguments;
}

bool contains(const Arguments& arguments, const char* option) {
    return std::ranges::find(arguments, option) != arguments.end();
}

bool isRefused(const Arguments& arguments) {
    return !arguments.empty() && arguments.front() == "refused";
}

struct Outcome {
    std::optional<int> status;
    std::string output;
};

Outcome runWith(const Arguments& arguments) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* const screen = std::exchange(stdout, open_memstream(&text, &size));
    const auto status = CLI::run(arguments);
    std::fclose(std::exchange(stdout, screen));
    const Outcome outcome{status, std::string(text, size)};
    std::free(text);
    return outcome;
}

bool isLit(const DisplayStatus& display) {
    return display.lit;
}

void requireAnswer(const Arguments& arguments, const Outcome& outcome) {
    const bool power = contains(arguments, "--power");
    const bool known = power || contains(arguments, "--list") || contains(arguments, "--selftest");
    fuzz::require(outcome.status.has_value() == known,
                  "an option, and nothing else, is carried out");
    const bool usage = power && std::ranges::find(arguments, "--power") + 1 == arguments.end();
    fuzz::require((outcome.status == ExitStatusUsage) == usage,
                  "only a missing state is a mistake in usage");
    fuzz::require(outcome.output.empty() != known, "whoever asks is answered");
    fuzz::require(outcome.output.empty() || outcome.output.ends_with('\n'), "lines are whole");
    fuzz::require(fuzz::isUTF8(outcome.output), "the output is UTF-8");
}

void requireLight(const Arguments& arguments) {
    const auto displays = desk().displays();
    fuzz::require(isLit(displays.front()), "the main display stays on");
    // A monitor in standby by DDC is not woken while SkyLight refuses.
    const bool mayLeaveOff = contains(arguments, "--power") ||
                             (isRefused(arguments) && contains(arguments, "--selftest"));
    fuzz::require(mayLeaveOff || std::ranges::all_of(displays, isLit),
                  "nothing else leaves a display off");
}

/// As it was before the next run.
void switchEverythingOn() {
    BlackoutController::shared().restoreAll();
    for (const DisplayStatus& display : desk().displays()) {
        if (!isLit(display)) {
            (void)DisplayPower::setPower(true, display.id);
        }
    }
    fuzz::require(std::ranges::all_of(desk().displays(), isLit),
                  "every display can be switched on");
    fuzz::require(simulated_mac::ledger::outstanding().empty(), "everything is given back");
    desk().clearCalls();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Arguments arguments = argumentsIn(fuzz::textOf(data, size));
    if (isRefused(arguments)) {
        desk().failCall({.call = "SLSConfigureDisplayEnabled", .nth = 0, .returns = 1001});
    }
    (void)desk();
    requireAnswer(arguments, runWith(arguments));
    desk().clearFaults();
    requireLight(arguments);
    if (contains(arguments, "--power") || contains(arguments, "--selftest")) {
        switchEverythingOn();
    }
    return 0;
}
