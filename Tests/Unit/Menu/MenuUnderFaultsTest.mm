// The menu is built, a switch is flipped and the application quits while a call of the platform
// goes wrong, or somebody changes the Mac at that moment.

#include "Safety/Forked.h"
#include "Safety/Mischief.h"
#include "Safety/Rules.h"
#include "SimulatedMac/World/Ledger.h"
#include "Support/MenuBarTest.h"
#include "Support/Scenes.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"

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

PowerSwitchRowView* switchRowOf(NSMenu* menu, CGDirectDisplayID displayID) {
    for (NSMenuItem* item in [menu itemArray]) {
        if ([[item view] isKindOfClass:[PowerSwitchRowView class]]) {
            auto* const row = static_cast<PowerSwitchRowView*>([item view]);
            if ([row displayID] == displayID) {
                return row;
            }
        }
    }
    return nil;
}

bool hasQuitItem(NSMenu* menu) {
    for (NSMenuItem* item in [menu itemArray]) {
        if ([[item keyEquivalent] isEqualToString:@"q"]) {
            return true;
        }
    }
    return false;
}

/// What the application does between its start and its end, and what is wrong with it; empty for
/// nothing.
std::string useMenu(AppDelegate* delegate) {
    NSMenu* const menu = [[[NSMenu alloc] init] autorelease];
    for (const CGDirectDisplayID displayID : {2U, 3U}) {
        [delegate menuNeedsUpdate:menu];
        if (!hasQuitItem(menu)) {
            return "a menu without a way to quit";
        }
        if (PowerSwitchRowView* const row = switchRowOf(menu, displayID)) {
            flip(row);
        }
    }
    [delegate applicationWillTerminate:anyNotification()];
    return simulated_mac::ledger::outstanding();
}

struct Session {
    std::string broken;
    std::string calls; ///< their names, a line each
};

Session runSession(const Scene& scene, const Mischief* wrong) {
    @autoreleasepool {
        [NSApplication sharedApplication];
        const ReplacedMethod runModal(
            [NSAlert class], @selector(runModal),
            implementationOf(+[](NSAlert*, SEL) { return NSInteger(0); }));
        Mac& mac = Mac::boot(scene);
        safety::Calls calls;
        mac.listen([&](const safety::LoggedCall& call) {
            calls.push_back(call);
            if (wrong != nullptr && wrong->event && wrong->event->calls == calls.size()) {
                wrong->happen(mac);
            }
        });
        if (wrong != nullptr && wrong->fault) {
            mac.failCall(*wrong->fault);
        }
        const auto delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
        Session session;
        session.broken = useMenu(delegate.get());
        if (session.broken.empty()) {
            session.broken = safety::brokenRule(calls, 0);
        }
        if (session.broken.empty() && (wrong == nullptr || wrong->fault) && !mac.display(1).lit) {
            session.broken = "the main display is dark";
        }
        for (const safety::LoggedCall& call : calls) {
            session.calls += call.call + "\n";
        }
        return session;
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

class MenuUnderFaults : public testing::TestWithParam<Desk> {};

TEST_P(MenuUnderFaults, keeps_its_rules_its_way_to_quit_and_the_main_display_lit) {
    const Scene scene = Scene::parse(GetParam().text, GetParam().name);
    safety::Forked forked;
    const auto sound = forked.run([&] { return runSession(scene, nullptr).calls; });
    const std::vector<Mischief> all = mischiefInTurn(scene, sound.text);
    ASSERT_GT(all.size(), 20U);
    for (const Mischief& wrong : all) {
        const auto end = forked.run([&] { return runSession(scene, &wrong).broken; });
        const bool endedByEvent =
            wrong.endsTheProgram() || (wrong.event && end.status == impossibleEvent);
        EXPECT_EQ(end.text, "") << wrong.described();
        EXPECT_TRUE(endedByEvent || (end.signal == 0 && end.status == 0))
            << wrong.described() << ": signal " << end.signal << ", status " << end.status;
    }
    RecordProperty("sessions", static_cast<int>(all.size()));
}

INSTANTIATE_TEST_SUITE_P(on, MenuUnderFaults, testing::ValuesIn(desks()),
                         [](const auto& desk) { return std::string(desk.param.name); });

} // namespace

} // namespace veilpane::test
