// The menu is built, a switch is flipped and the application quits while a call of the platform
// goes wrong, or somebody changes the Mac at that moment.

#include "Safety/Forked.h"
#include "Safety/Mischief.h"
#include "Safety/Promise.h"
#include "Safety/Rules.h"
#include "SimulatedMac/World/Ledger.h"
#include "Support/MenuBarTest.h"
#include "Support/Scenes.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"

#include <csignal>

namespace veilpane::test {

namespace {

using safety::Mischief;
using simulated_mac::Mac;
using simulated_mac::Scene;

constexpr int impossibleEvent = 2;  // the status with which the simulated Mac refuses one
constexpr std::size_t everyNth = 5; // calls; the others' turns are the safety runs', without a menu

struct Desk {
    const char* name;
    std::string text;
};

// By each of the three mechanisms.
std::vector<Desk> desks() {
    constexpr std::string_view quick = R"("profiler": { "missing": true })";
    return {{"soft_disconnect", ::scene({builtIn1, ddcStudio2, right3}, {quick})},
            {"ddc_and_blackout", ::scene({builtIn1, ddcStudio2, right3}, {quick, noSkyLight})},
            {"a_display_that_is_off", ::scene({builtIn1, disabledStudio2, right3},
                                              {quick, softwareMirroring, remembered("[2]")})}};
}

std::vector<PowerSwitchRowView*> rowsOf(NSMenu* menu) {
    std::vector<PowerSwitchRowView*> rows;
    for (NSMenuItem* item in [menu itemArray]) {
        if ([[item view] isKindOfClass:[PowerSwitchRowView class]]) {
            rows.push_back(static_cast<PowerSwitchRowView*>([item view]));
        }
    }
    return rows;
}

bool isOn(PowerSwitchRowView* row) {
    return [[row powerSwitch] state] == NSControlStateValueOn;
}

bool hasQuitItem(NSMenu* menu) {
    for (NSMenuItem* item in [menu itemArray]) {
        if ([[item keyEquivalent] isEqualToString:@"q"]) {
            return true;
        }
    }
    return false;
}

int alerts = 0;

/// What the application does between its start and its end, held against its promise.
class Session {
public:
    Session(const Scene& scene, const Mischief* wrong) : mac_(Mac::boot(scene)), wrong_(wrong) {
        mac_.listen([this](const safety::LoggedCall& call) { note(call); });
        if (wrong_ != nullptr && wrong_->fault) {
            mac_.failCall(*wrong_->fault);
        }
    }

    /// Throws BrokenPromise.
    void run() {
        const auto delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
        NSMenu* const menu = [[[NSMenu alloc] init] autorelease];
        for (const CGDirectDisplayID displayID : {2U, 3U}) {
            open(menu, delegate.get());
            for (PowerSwitchRowView* const row : rowsOf(menu)) {
                if ([row displayID] == displayID && ![row isMain]) {
                    flipOne(row);
                }
            }
        }
        calls_.clear();
        [delegate.get() applicationWillTerminate:anyNotification()];
        safety::Promise promise(calls_, memory_);
        promise.restoreAll();
        promise.requireEnd();
        require(!isDarkWithoutReason(), "the main display is dark");
        require(simulated_mac::ledger::outstanding().empty(), simulated_mac::ledger::outstanding());
    }

    [[nodiscard]] const std::string& callNames() const { return names_; }

private:
    static void require(bool holds, const std::string& otherwise) {
        if (!holds) {
            throw safety::BrokenPromise(otherwise);
        }
    }

    void note(const safety::LoggedCall& call) {
        calls_.push_back(call);
        names_ += call.call + "\n";
        if (wrong_ != nullptr && wrong_->event && wrong_->event->calls == ++count_) {
            wrong_->happen(mac_);
        }
    }

    void open(NSMenu* menu, AppDelegate* delegate) {
        calls_.clear();
        [delegate menuNeedsUpdate:menu];
        require(hasQuitItem(menu), "a menu without a way to quit");
        std::vector<std::uint32_t> order;
        for (PowerSwitchRowView* const row : rowsOf(menu)) {
            order.push_back([row displayID]);
        }
        safety::Promise promise(calls_, memory_);
        const std::vector<bool> on = promise.menu(order);
        promise.requireEnd();
        for (std::size_t i = 0; i < order.size(); ++i) {
            PowerSwitchRowView* const row = rowsOf(menu)[i];
            require([row isMain] || isOn(row) == on[i], "a switch stands otherwise than it is");
        }
    }

    void flipOne(PowerSwitchRowView* row) {
        const bool wantsOn = !isOn(row);
        calls_.clear();
        alerts = 0;
        flip(row);
        const std::string broken = safety::brokenRule(calls_, [row displayID]);
        require(broken.empty(), broken);
        safety::Promise promise(calls_, memory_);
        const auto flipped = promise.flip(wantsOn, [row displayID]);
        promise.requireEnd();
        require(isOn(row) == flipped.isOn, "the switch stands otherwise than its display");
        const int due = flipped.outcome && !flipped.outcome->success ? 1 : 0;
        require(alerts == due, "an alert comes without a failure, or a failure without an alert");
    }

    // Whoever makes another display the main one, or mirrors it, may darken the former one.
    [[nodiscard]] bool isDarkWithoutReason() {
        return (wrong_ == nullptr || wrong_->fault) && !mac_.display(1).lit;
    }

    Mac& mac_;
    const Mischief* wrong_;
    safety::Calls calls_; ///< since the last thing that the user did
    safety::Memory memory_;
    std::size_t count_ = 0; ///< of all calls
    std::string names_;
};

struct Ran {
    std::string broken;
    std::string calls; ///< their names, a line each
};

Ran runSession(const Scene& scene, const Mischief* wrong) {
    @autoreleasepool {
        [NSApplication sharedApplication];
        const ReplacedMethod runModal([NSAlert class], @selector(runModal),
                                      implementationOf(+[](NSAlert*, SEL) {
                                          ++alerts;
                                          return NSInteger(0);
                                      }));
        Session session(scene, wrong);
        try {
            session.run();
        } catch (const safety::BrokenPromise& broken) {
            return {broken.what(), ""};
        }
        return {"", session.callNames()};
    }
}

/// One thing that can go wrong at every few calls of a session.
std::vector<Mischief> mischiefInTurn(const Scene& scene, const std::string& text) {
    const safety::CallNames calls = safety::callNamesIn(text);
    std::vector<Mischief> all;
    for (std::size_t place = 1; place <= calls.size(); place += everyNth) {
        const auto ways = safety::mischiefAt(calls, place, scene);
        all.push_back(ways[place * 7 % ways.size()]);
    }
    return all;
}

// A logout is a request to quit, which waits for the run loop.
int signalOf(const Mischief& wrong) {
    return wrong.event && wrong.event->line == "kill" ? SIGKILL : 0;
}

class MenuUnderFaults : public testing::TestWithParam<Desk> {};

TEST_P(MenuUnderFaults, keeps_its_rules_its_way_to_quit_and_the_main_display_lit) {
    const Scene scene = Scene::parse(GetParam().text, GetParam().name);
    safety::Forked forked;
    const auto sound = forked.run([&] { return runSession(scene, nullptr).calls; });
    const std::vector<Mischief> all = mischiefInTurn(scene, sound.text);
    ASSERT_GT(all.size(), 20U);
    for (const Mischief& wrong : all) {
        const auto end = forked.run([&] { return runSession(scene, &wrong).broken; });
        const bool isImpossible = wrong.event && end.status == impossibleEvent;
        EXPECT_EQ(end.text, "") << wrong.described();
        EXPECT_TRUE(isImpossible || end.status == 0) << wrong.described() << ": " << end.status;
        EXPECT_EQ(end.signal, signalOf(wrong)) << wrong.described();
    }
    RecordProperty("sessions", static_cast<int>(all.size()));
}

INSTANTIATE_TEST_SUITE_P(on, MenuUnderFaults, testing::ValuesIn(desks()),
                         [](const auto& desk) { return std::string(desk.param.name); });

} // namespace

} // namespace veilpane::test
