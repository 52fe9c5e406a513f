#include "SimulatedMac/World/MacState.h"
#include "Support/ChildProcess.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"
#include "Veilpane/Inventory/DisplayStore.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayDisconnect.h"
#include "Veilpane/Power/DisplayPower.h"

#include <cstdlib>
#include <functional>
#include <random>

namespace veilpane::test {

// Fails every platform call of every operation once, and walks at random through operations and
// faults. Whatever happens, the main display stays on, some display stays active, and everything is
// given back.

namespace {

using simulated_mac::Mac;
using simulated_mac::SceneFault;

struct NamedScene {
    const char* name;
    std::string text;

    friend void PrintTo(const NamedScene& scene, std::ostream* stream) { *stream << scene.name; }
};

constexpr std::string_view noProfiler = R"("profiler": { "missing": true })";

const std::vector<NamedScene> scenes = {
    {"desk", scene({R"({ "id": 1, "main": true, "builtin": true, "profilerName": "P" })",
                    R"({ "id": 2, "vendor": 5, "model": 6, "registryName": "R",
                 "ddc": { "brightness": 40 } })",
                    R"({ "id": 3, "screenName": "S" })"})},
    {"without_skylight_with_ddc",
     scene({main1, R"({ "id": 2, "ddc": {} })"}, {noProfiler, noSkyLight})},
    {"without_skylight_or_ddc", scene({main1, plain2}, {noProfiler, noSkyLight})},
    {"skylight_refuses_and_the_monitor_does_not_answer",
     scene({main1, R"({ "id": 2, "ddc": { "send": 1 } })"}, {noProfiler, refusedBySkyLight()})},
    {"an_intel_mac",
     scene({main1, R"({ "id": 2, "ddc": {}, "servicePort": true })"}, {noProfiler})},
};

const NamedScene threeWithoutSkyLight = {
    "three_displays_without_skylight",
    scene({main1, R"({ "id": 2, "ddc": {} })", plain3}, {noSkyLight})};

struct Operation {
    const char* name;
    std::function<void()> run;
};

void power(bool on, CGDirectDisplayID display) {
    (void)DisplayPower::setPower(on, display);
}

const std::vector<Operation> operations = {
    {"off 2", [] { power(false, 2); }},
    {"off main", [] { power(false, 1); }},
    {"on 2", [] { power(true, 2); }},
    {"off 2, on 2",
     [] {
         power(false, 2);
         power(true, 2);
     }},
    {"list", [] { (void)DisplayStore::shared().listDisplays(); }},
    {"status lines",
     [] {
         (void)DisplayPower::statusLine(1);
         (void)DisplayPower::statusLine(2);
     }},
    {"off 2, restore all",
     [] {
         power(false, 2);
         BlackoutController::shared().restoreAll();
     }},
};

// A fault can make the program take the main display for another one, which no program could tell;
// the rules are about what it does by itself. So calls that answer what the main display is are the
// one kind of call that these tests leave alone.
bool answersWhatIsMain(const std::string& call) {
    return call == "CGDisplayIsMain";
}

std::string brokenRule(Mac& mac) {
    if (!mac.display(1).lit || !mac.display(1).main) {
        return "the main display is dark";
    }
    if (mac.state().active().empty()) {
        return "no display is active";
    }
    return simulated_mac::ledger::outstanding();
}

// In a process of its own, because the program keeps state for the life of a process.
ChildOutcome runWithFault(const NamedScene& scene, const Operation& operation, SceneFault fault) {
    return inChildProcess([&] {
        Mac& mac = Mac::boot(scene.text);
        mac.failCall(fault);
        operation.run();
        const auto calls = mac.calls();
        const auto place = static_cast<std::size_t>(fault.nth - 1);
        if (place >= calls.size()) {
            return std::string("not fired");
        }
        return answersWhatIsMain(calls[place].call) ? std::string() : brokenRule(mac);
    });
}

class FaultLoop : public testing::TestWithParam<NamedScene> {};

TEST_P(FaultLoop, no_single_fault_breaks_a_rule) {
    const NamedScene& scene = GetParam();
    for (const Operation& operation : operations) {
        for (const bool null : {false, true}) {
            int nth = 1;
            for (;; ++nth) {
                const FailingCall call = fails("*").nth(nth);
                const SceneFault fault = null ? call.withNull() : call.with(1001);
                const ChildOutcome outcome = runWithFault(scene, operation, fault);
                if (outcome.message == "not fired") {
                    break;
                }
                ASSERT_EQ(outcome, ChildOutcome())
                    << scene.name << ", " << operation.name << ", call " << nth
                    << (null ? " yields null" : " fails");
            }
            EXPECT_GT(nth, 1) << operation.name << " makes no call at all";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, FaultLoop, testing::ValuesIn(scenes),
                         [](const auto& info) { return info.param.name; });

unsigned chosenSeed() {
    const char* const given = std::getenv("VEILPANE_TEST_SEED");
    return given != nullptr ? static_cast<unsigned>(std::stoul(given)) : 20261120U;
}

// Display 1 stays the main one: a person who unplugs it hands the menu bar on, which would make
// "dark by our doing" hard to tell from "dark by theirs".
class Walk {
public:
    Walk(Mac& mac, unsigned seed) : mac_(mac), random_(seed) {}

    std::string run(int steps) {
        for (int i = 0; i < steps; ++i) {
            const std::string step = takeStep();
            if (const std::string broken = brokenRule(mac_); !broken.empty()) {
                return "step " + std::to_string(i) + " (" + step + "): " + broken;
            }
        }
        return {};
    }

private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    CGDirectDisplayID anyDisplay() { return static_cast<CGDirectDisplayID>(1 + below(4)); }
    CGDirectDisplayID externalDisplay() { return static_cast<CGDirectDisplayID>(2 + below(2)); }

    std::string takeStep() {
        mac_.clearFaults();
        if (below(3) == 0) {
            const auto call =
                static_cast<std::size_t>(below(static_cast<int>(faultyCalls_.size())));
            mac_.failCall(failureOf(faultyCalls_[call], 1 + below(3)));
        }
        switch (below(8)) {
        case 0:
        case 1:
            return switchDisplay(true, anyDisplay());
        case 2:
        case 3:
            return switchDisplay(false, anyDisplay());
        case 4:
            (void)DisplayStore::shared().listDisplays();
            return "list";
        case 5:
            BlackoutController::shared().restoreAll();
            return "restore all";
        case 6:
            return replug(externalDisplay());
        default:
            below(2) == 0 ? mac_.logOut() : mac_.reboot();
            return "end of session";
        }
    }

    // A function that answers an object can only answer none.
    static SceneFault failureOf(const std::string& call, int nth) {
        return {call, nth, call == "dlopen" ? 0 : 1001, false};
    }

    static std::string switchDisplay(bool on, CGDirectDisplayID display) {
        power(on, display);
        return (on ? "on " : "off ") + std::to_string(display);
    }

    std::string replug(CGDirectDisplayID display) {
        const bool connected = mac_.display(display).connected;
        connected ? mac_.unplug(display) : mac_.plug(display);
        return (connected ? "unplug " : "plug ") + std::to_string(display);
    }

    const std::vector<std::string> faultyCalls_ = {"CGBeginDisplayConfiguration",
                                                   "CGCompleteDisplayConfiguration",
                                                   "CGConfigureDisplayMirrorOfDisplay",
                                                   "SLSConfigureDisplayEnabled",
                                                   "SLSGetDisplayList",
                                                   "CGGetOnlineDisplayList",
                                                   "CGGetActiveDisplayList",
                                                   "IOI2CSendRequest",
                                                   "dlopen",
                                                   "CGGetDisplayTransferByTable",
                                                   "CGSetDisplayTransferByTable"};

    Mac& mac_;
    std::mt19937 random_;
};

TEST(RandomWalk, keeps_the_main_display_lit_and_gives_everything_back) {
    for (unsigned walk = 0; walk < 20; ++walk) {
        const unsigned seed = chosenSeed() + walk;
        for (const NamedScene& scene : {scenes[0], threeWithoutSkyLight}) {
            const ChildOutcome outcome = inChildProcess([&] {
                Mac& mac = Mac::boot(scene.text);
                return Walk(mac, seed).run(60);
            });
            ASSERT_EQ(outcome, ChildOutcome())
                << scene.name << "; replay with VEILPANE_TEST_SEED=" << seed;
        }
    }
}

} // namespace

} // namespace veilpane::test
