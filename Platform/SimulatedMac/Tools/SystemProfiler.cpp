// Stands for /usr/sbin/system_profiler: prints the displays of the simulated Mac.

#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/RunningMac.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using nlohmann::ordered_json;
using namespace simulated_mac;

// Display IDs are printed in hexadecimal without a prefix, as a Mac does.
std::string hex(uint32_t number) {
    char text[9] = {};
    std::snprintf(text, sizeof text, "%x", number);
    return text;
}

ordered_json entryFor(const SceneDisplay& display, const MacState& state) {
    ordered_json entry = {{"_name", display.profilerName.value_or("")},
                          {"_spdisplays_display-product-id", hex(display.model)},
                          {"_spdisplays_display-vendor-id", hex(display.vendor)},
                          {"_spdisplays_displayID", hex(display.id)}};
    if (display.builtin) {
        entry["spdisplays_connection_type"] = "spdisplays_internal";
    }
    if (state.main() == display.id) {
        entry["spdisplays_main"] = "spdisplays_yes";
    }
    entry["spdisplays_mirror"] =
        state.isInMirrorSet(display.id) ? "spdisplays_on" : "spdisplays_off";
    entry["spdisplays_online"] = "spdisplays_yes";
    return entry;
}

ordered_json report(RunningMac& mac) {
    ordered_json card = {{"_name", "Apple M9"}};
    const MacState& state = mac.lateState();
    for (const SceneDisplay& display : mac.scene().displays) {
        // Assumed (disabled-unprofiled): a disabled display is not reported.
        if (display.profilerName && state.isOnline(display.id)) {
            card["spdisplays_ndrvs"].push_back(entryFor(display, state));
        }
    }
    card["spdisplays_vendor"] = "sppci_vendor_Apple";
    card["sppci_model"] = "Apple M9";
    return {{"SPDisplaysDataType", ordered_json::array({card})}};
}

constexpr int secondsBetweenLooks = 1;
constexpr int mostLooks = 600;

/// Waits in a process of its own, which holds the standard output, until nobody reads that any
/// more.
void keepOutputOpen() {
    if (fork() != 0) {
        return;
    }
    pollfd output = {STDOUT_FILENO, 0, 0};
    for (int looks = 0; looks < mostLooks && output.revents == 0; ++looks) {
        poll(&output, 1, secondsBetweenLooks * 1000);
    }
    _exit(0);
}

void dieBySignal(int number) {
    const rlimit noDump = {0, 0};
    setrlimit(RLIMIT_CORE, &noDump);
    std::signal(number, SIG_DFL);
    std::raise(number);
}

int endAs(const ProfilerManners& manners) {
    std::fflush(stdout);
    if (manners.keepOpen) {
        keepOutputOpen();
    }
    if (manners.signal != 0) {
        dieBySignal(manners.signal);
    }
    return manners.exit;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::strcmp(argv[1], "SPDisplaysDataType") != 0 ||
        std::strcmp(argv[2], "-json") != 0) {
        std::fputs("usage: system_profiler SPDisplaysDataType -json\n", stderr);
        return 1;
    }
    RunningMac& mac = RunningMac::current();
    const ProfilerManners& manners = mac.scene().profilerManners;
    std::fputs(manners.standardError.c_str(), stderr);
    std::this_thread::sleep_for(std::chrono::duration<double>(manners.delay));
    const auto& output = mac.scene().profilerOutput;
    const std::string text = output ? *output : report(mac).dump(2) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (std::fflush(stdout) != 0) {
        return 2;
    }
    return endAs(manners);
}
