#include "Support/ChildProcess.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"
#include "Veilpane/Inventory/DisplayStore.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayDisconnect.h"
#include "Veilpane/Power/DisplayPower.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ranges>

namespace veilpane::test {

namespace {

// What a user may be surprised by, each as it is: Docs/KnownLimits.md tells the way out. A change
// here is a change of what that page says.

using nlohmann::json;
using simulated_mac::Mac;

using KnownLimits = SimulatedMacTest;

constexpr const char* storedKey = "Veilpane.disconnectedDisplayIDs";

TEST_F(KnownLimits, the_only_ddc_monitor_is_taken_for_any_display_even_if_it_is_the_main_one) {
    for (const CGDirectDisplayID displayID : {2u, 99u}) {
        Mac& mac = boot(scene({R"({ "id": 1, "main": true, "ddc": true })", plain2},
                              {noSkyLight, registry(R"({ "class": "IOFramebuffer", "i2cBuses": 1,
                                  "children": [ { "class": "IOFramebufferI2CInterface" } ] })")}));
        EXPECT_EQ(DisplayPower::setPower(false, displayID),
                  (PowerResult{PowerMethod::ddc, true, "DDC 已发送 Power Off"}));
        EXPECT_FALSE(mac.display(1).lit) << displayID;
        EXPECT_TRUE(mac.display(2).lit) << displayID;
    }
}

TEST_F(KnownLimits, a_search_for_the_monitor_that_a_change_cuts_short_may_find_another_one) {
    Mac& mac = boot(scene({main1, ddc2, R"({ "id": 3, "ddc": true })"}, {noSkyLight}));
    // The second search has seen two framebuffers by then.
    mac.during("IOFBGetI2CInterfaceCount", 5).after("unplug 3");
    EXPECT_EQ(DisplayPower::setPower(false, 3),
              (PowerResult{PowerMethod::ddc, true, "DDC 已发送 Power Off"}));
    EXPECT_FALSE(mac.display(2).lit);
}

TEST_F(KnownLimits, display_0_is_asked_for_like_any_other) {
    boot(scene({main1, plain2}));
    (void)DisplayPower::setPower(false, 0);
    EXPECT_EQ(calls({"SLSConfigureDisplayEnabled"}),
              (std::vector<std::string>{"SLSConfigureDisplayEnabled(1, 0, false) = 1001"}));
}

std::vector<CGDirectDisplayID> listedIDs() {
    std::vector<CGDirectDisplayID> displayIDs;
    for (const DisplayItem& display : DisplayStore::shared().listDisplays()) {
        displayIDs.push_back(display.id);
    }
    return displayIDs;
}

bool isListed(CGDirectDisplayID displayID) {
    return std::ranges::count(listedIDs(), displayID) != 0;
}

TEST_F(KnownLimits, online_displays_from_the_33rd_on_are_not_listed_or_look_disconnected) {
    boot(scene({R"({ "id": 1 })", numberedDisplays(33).substr(main1.size() + 2),
                R"({ "id": 34, "main": true })"},
               {remembered("[33]")}));
    EXPECT_FALSE(isListed(34)) << "although it is the main one";
    EXPECT_TRUE(isListed(33));
    EXPECT_EQ(DisplayPower::setPower(false, 33).message, "显示器已断开");
}

TEST_F(KnownLimits, beside_64_known_displays_a_disconnected_one_is_not_listed) {
    Mac& mac = boot(scene({numberedDisplays(64)}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    ASSERT_FALSE(mac.display(2).lit);
    EXPECT_FALSE(isListed(2));
    EXPECT_TRUE(DisplayPower::setPower(true, 2).success);
    EXPECT_TRUE(mac.display(2).lit);
}

TEST_F(KnownLimits, what_others_mirror_from_the_17th_display_on_is_not_let_go_at_the_end) {
    Mac& mac = boot(scene(
        {numberedDisplays(15), R"({ "id": 16, "mirrors": 1 })", R"({ "id": 17, "mirrors": 1 })"}));
    BlackoutController::shared().restoreAll();
    EXPECT_EQ(mac.display(16).mirrors, 0u);
    EXPECT_EQ(mac.display(17).mirrors, 1u);
}

TEST_F(KnownLimits, a_display_that_does_not_exist_is_said_to_be_blacked_out) {
    Mac& mac = boot(scene({main1, plain2}, {noSkyLight}));
    EXPECT_EQ(
        DisplayPower::setPower(false, 77),
        (PowerResult{PowerMethod::blackout, true, "BlackOut：镜像 + Gamma 归零（软件兜底）"}));
    EXPECT_TRUE(mac.display(1).lit);
    EXPECT_TRUE(mac.display(2).lit);
}

TEST_F(KnownLimits,
       of_two_programs_that_run_at_once_the_later_one_loses_what_the_other_remembered) {
    Mac& mac = boot(scene({main1, plain2, plain3}));
    ASSERT_FALSE(DisplayDisconnect::isDisconnectedByUs(2)); // what is stored is read now
    inChildProcess([] {
        (void)DisplayPower::setPower(false, 3);
        return std::string();
    });
    ASSERT_EQ(mac.storedDefaults()[storedKey], json::array({3}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(mac.storedDefaults()[storedKey], json::array({2}));
    EXPECT_FALSE(mac.display(3).lit);
}

TEST_F(KnownLimits, a_blackout_of_another_program_that_runs_is_not_ended) {
    Mac& mac = boot(scene({main1, plain2}, {noSkyLight}));
    WaitingChild other([] { return DisplayPower::setPower(true, 2).message; });
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(other.go().message, "已恢复显示");
    EXPECT_FALSE(mac.display(2).lit);
}

TEST_F(KnownLimits, a_blackout_of_what_another_program_has_blacked_out_gives_back_black_tables) {
    Mac& mac = boot(scene({main1, plain2}, {noSkyLight}));
    WaitingChild other([&mac] {
        (void)DisplayPower::setPower(false, 2);
        (void)DisplayPower::setPower(true, 2);
        return std::string(mac.display(2).lit ? "lit" : "dark");
    });
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(other.go().message, "dark");
    // The tables of a process end with it.
    EXPECT_TRUE(mac.display(2).lit);
}

TEST_F(KnownLimits, a_list_that_fails_once_makes_the_program_forget_what_it_disconnected) {
    Mac& mac = boot(scene({main1, plain2, plain3}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    mac.failCall(fails("SLSGetDisplayList").nth(2).with(1000));
    EXPECT_TRUE(DisplayDisconnect::ourDisconnectedIDs().empty());
    EXPECT_FALSE(DisplayDisconnect::isDisconnectedByUs(2));
    (void)DisplayDisconnect::setEnabled(false, 3);
    EXPECT_EQ(mac.storedDefaults()[storedKey], json::array({3}));
}

TEST_F(KnownLimits, the_global_reset_lights_other_displays_whose_blackout_still_counts) {
    Mac& mac = boot(scene({main1, plain2, R"({ "id": 3, "gamma": false })"}, {noSkyLight}));
    BlackoutController::shared().blackout(2);
    BlackoutController::shared().blackout(3);
    ASSERT_FALSE(mac.display(2).lit);
    BlackoutController::shared().restore(3);
    EXPECT_TRUE(mac.display(2).lit);
    EXPECT_TRUE(BlackoutController::shared().isBlackedOut(2));
}

TEST_F(KnownLimits, a_display_that_mirroring_made_the_main_one_is_not_let_go) {
    Mac& mac = boot(scene({R"({ "id": 1, "main": true, "pixels": [1440, 900] })",
                           R"({ "id": 2, "pixels": [3840, 2160] })"},
                          {noSkyLight, softwareMirroring}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_TRUE(mac.display(2).main);
    EXPECT_FALSE(mac.display(2).lit);
    BlackoutController::shared().restoreAll();
    EXPECT_TRUE(mac.display(2).lit);
    EXPECT_EQ(mac.display(2).mirrors, 1u);
}

TEST_F(KnownLimits, a_display_that_has_another_id_after_a_restart_is_no_longer_ours) {
    Mac& mac = boot(scene({main1, plain2, plain3}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    mac.rebootRenumbered();
    EXPECT_TRUE(DisplayDisconnect::ourDisconnectedIDs().empty());
    EXPECT_EQ(mac.storedDefaults()[storedKey], json::array({2}));
}

TEST_F(KnownLimits, a_reload_of_the_tables_ends_a_blackout_that_still_counts) {
    Mac& mac = boot(scene({main1, plain2}, {noSkyLight, R"("gammaReloads": true)"}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    ASSERT_FALSE(mac.display(2).lit);
    mac.wake();
    EXPECT_TRUE(mac.display(2).lit);
    EXPECT_TRUE(BlackoutController::shared().isBlackedOut(2));
}

std::vector<CGGammaValue> redTable(CGDirectDisplayID id, std::uint32_t capacity) {
    std::vector<CGGammaValue> red(capacity);
    std::vector<CGGammaValue> green(capacity);
    std::vector<CGGammaValue> blue(capacity);
    EXPECT_EQ(
        CGGetDisplayTransferByTable(id, capacity, red.data(), green.data(), blue.data(), nullptr),
        kCGErrorSuccess);
    return red;
}

TEST_F(KnownLimits, tables_of_another_size_come_back_with_less_detail) {
    constexpr std::uint32_t capacity = 1024;
    boot(scene({main1, R"({ "id": 2, "gammaCapacity": 1024 })"}));
    std::vector<CGGammaValue> steps(capacity);
    for (std::uint32_t i = 0; i < capacity; ++i) {
        steps[i] = i % 2 == 0 ? 0.25F : 0.75F;
    }
    CGSetDisplayTransferByTable(2, capacity, steps.data(), steps.data(), steps.data());
    BlackoutController::shared().blackout(2);
    BlackoutController::shared().restore(2);
    EXPECT_NE(redTable(2, capacity), steps);
}

// What is not filled of the 256 entries stays zero, and they are squeezed into the display's.
TEST_F(KnownLimits, smaller_tables_come_back_with_black_for_bright_tones) {
    constexpr std::uint32_t capacity = 128;
    boot(scene({main1, R"({ "id": 2, "gammaCapacity": 128 })"}));
    ASSERT_EQ(redTable(2, capacity).back(), 1.0F);
    BlackoutController::shared().blackout(2);
    BlackoutController::shared().restore(2);
    const std::vector<CGGammaValue> red = redTable(2, capacity);
    EXPECT_GT(red[capacity / 2 - 1], 0.9F);
    EXPECT_EQ(std::ranges::count(red | std::views::drop(capacity / 2), 0.0F), capacity / 2);
}

TEST_F(KnownLimits, tables_of_which_only_the_first_entries_are_read_come_back_dark) {
    constexpr std::uint32_t capacity = 1024;
    boot(scene({main1, R"({ "id": 2, "gammaCapacity": 1024, "gammaReading": "truncate" })"}));
    ASSERT_EQ(redTable(2, capacity).back(), 1.0F);
    BlackoutController::shared().blackout(2);
    BlackoutController::shared().restore(2);
    EXPECT_NEAR(redTable(2, capacity).back(), 0.25, 0.01);
}

TEST_F(KnownLimits, the_end_of_the_process_may_leave_another_display_black) {
    for (const bool ends : {false, true}) {
        Mac& mac = boot(scene({main1, plain2}, {noSkyLight, R"("gammaExitZeroes": 1)"}));
        inChildProcess([ends] {
            (void)DisplayPower::setPower(false, 2);
            if (ends) {
                BlackoutController::shared().restoreAll(); // as quitting does
            }
            return std::string();
        });
        EXPECT_FALSE(mac.display(1).lit) << ends;
        EXPECT_TRUE(mac.display(2).lit) << ends;
    }
}

simulated_mac::SceneFault despiteItsEffect(simulated_mac::SceneFault fault) {
    fault.effect = true;
    return fault;
}

TEST_F(KnownLimits, a_disconnect_that_took_effect_and_reports_an_error_is_told_as_failed) {
    Mac& mac = boot(scene({main1, plain2, plain3}));
    const ChildOutcome outcome = inChildProcess([&mac] {
        for (const int nth : {1, 2}) {
            mac.failCall(
                despiteItsEffect(fails("CGCompleteDisplayConfiguration").nth(nth).with(1000)));
        }
        return DisplayPower::setPower(false, 2).message;
    });
    EXPECT_TRUE(outcome.message.starts_with("SLS 断开失败")) << outcome;
    EXPECT_FALSE(mac.display(2).online);
    EXPECT_FALSE(mac.storedDefaults().contains(storedKey));
    const std::vector<DisplayItem> listed = DisplayStore::shared().listDisplays();
    EXPECT_EQ(std::ranges::count(listed, 2u, &DisplayItem::id), 0);
    EXPECT_TRUE(DisplayPower::setPower(true, 2).success);
    EXPECT_TRUE(mac.display(2).lit) << "the way out";
}

TEST_F(KnownLimits, brightness_that_arrived_despite_an_error_is_not_given_back) {
    Mac& mac = boot(scene({main1, ddc2}, {noSkyLight}));
    mac.failCall(fails("IOI2CSendRequest").with(-1)); // the power message, not the brightness
    mac.failCall(despiteItsEffect(fails("IOI2CSendRequest").nth(2).with(-1)));
    EXPECT_EQ(DisplayPower::setPower(false, 2).method, PowerMethod::blackout);
    EXPECT_TRUE(DisplayPower::setPower(true, 2).success);
    EXPECT_TRUE(mac.display(2).lit);
    EXPECT_EQ(mac.display(2).brightness, 0);
}

TEST_F(KnownLimits, a_monitor_in_standby_may_miss_the_message_that_is_to_wake_it) {
    Mac& mac = boot(
        scene({main1, R"({ "id": 2, "ddc": { "deafInStandby": true } })"}, {refusedBySkyLight()}));
    ASSERT_EQ(DisplayPower::setPower(false, 2).method, PowerMethod::ddc);
    mac.clearFaults();
    EXPECT_TRUE(DisplayPower::setPower(true, 2).success);
    EXPECT_FALSE(mac.display(2).lit);
}

// The standby was reported as failed, so that a BlackOut began; calls of the process stand for
// time.
TEST_F(KnownLimits, the_second_of_two_messages_without_a_pause_is_lost) {
    constexpr int pause = 300; // calls
    Mac& mac = boot(scene({main1, R"({ "id": 2, "ddc": { "minGapCalls": 200 } })"}, {noSkyLight}));
    mac.failCall(despiteItsEffect(fails("IOI2CSendRequest").with(-1)));
    ASSERT_EQ(DisplayPower::setPower(false, 2).method, PowerMethod::blackout);
    for (int i = 0; i < pause; ++i) {
        (void)CGDisplayIsMain(1);
    }
    EXPECT_EQ(DisplayPower::setPower(true, 2).message, "已解除 BlackOut，显示器恢复显示");
    EXPECT_EQ(mac.display(2).brightness, 100) << "the first one is taken";
    EXPECT_FALSE(mac.display(2).lit) << "the one that wakes it is not";
}

TEST_F(KnownLimits, a_kill_right_after_the_change_leaves_a_display_off_that_nobody_remembers) {
    Mac& mac = boot(scene({main1, plain2}));
    inChildProcess([&mac] {
        mac.during("CGCompleteDisplayConfiguration").after("logout");
        (void)DisplayPower::setPower(false, 2);
        return std::string();
    });
    EXPECT_FALSE(mac.display(2).lit);
    EXPECT_FALSE(mac.storedDefaults().contains(storedKey));
}

TEST_F(KnownLimits, a_remembered_display_counts_as_off_while_the_online_list_fails) {
    Mac& mac = boot(scene({main1, plain2}, {remembered("[2]")}));
    mac.failCall(fails("CGGetOnlineDisplayList").every().with(1000));
    const PowerResult result = DisplayPower::setPower(false, 2);
    EXPECT_TRUE(result.success);
    EXPECT_EQ(result.message, "显示器已断开");
    EXPECT_TRUE(mac.display(2).lit);
}

TEST_F(KnownLimits, a_blackout_whose_tables_macos_refuses_is_told_as_done) {
    Mac& mac = boot(scene({main1, plain2}, {noSkyLight}));
    mac.failCall(fails("CGSetDisplayTransferByTable").with(1000));
    EXPECT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(mac.display(2).gamma, "normal");
}

TEST_F(KnownLimits, a_change_that_macos_only_claims_to_have_made_is_told_as_made) {
    Mac& mac = boot(scene({main1, plain2}));
    mac.failCall(fails("CGCompleteDisplayConfiguration").with(0));
    EXPECT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_TRUE(mac.display(2).lit);
    EXPECT_TRUE(DisplayPower::setPower(false, 2).success) << "the way out";
    EXPECT_FALSE(mac.display(2).enabled);
}

TEST_F(KnownLimits, a_main_display_that_macos_denies_to_be_it_is_switched_off) {
    Mac& mac = boot(scene({main1, plain2}, {noSkyLight}));
    mac.failCall(fails("CGDisplayIsMain").every().with(0));
    EXPECT_TRUE(DisplayPower::setPower(false, 1).success);
    EXPECT_EQ(mac.display(1).gamma, "zero");
    EXPECT_TRUE(DisplayPower::setPower(true, 1).success) << "the way out";
    EXPECT_TRUE(mac.display(1).lit);
}

TEST_F(KnownLimits, a_wrong_count_of_active_displays_is_believed) {
    Mac& mac = boot(scene({main1, disabled2, plain3}));
    mac.unplug(3);
    mac.failCall(fails("CGDisplayIsMain").with(0));
    mac.failCall(fails("CGGetActiveDisplayList").with(0));
    EXPECT_TRUE(DisplayPower::setPower(false, 1).success);
    EXPECT_FALSE(mac.display(1).lit);
    EXPECT_TRUE(DisplayPower::setPower(true, 1).success) << "the way out";
    EXPECT_TRUE(mac.display(1).lit);
}

TEST_F(KnownLimits, tables_that_macos_only_claims_to_have_read_are_given_back_black) {
    Mac& mac = boot(scene({main1, plain2}, {noSkyLight}));
    const ChildOutcome outcome = inChildProcess([&mac] {
        mac.failCall(fails("CGGetDisplayTransferByTable").with(0));
        (void)DisplayPower::setPower(false, 2);
        (void)DisplayPower::setPower(true, 2);
        return mac.display(2).gamma;
    });
    EXPECT_EQ(outcome.message, "zero");
    EXPECT_TRUE(mac.display(2).lit) << "the way out: the end of the process";
}

TEST_F(KnownLimits, switching_on_is_told_as_done_where_skylight_does_not_do_it) {
    Mac& mac = boot(scene({main1, disabled2}, {remembered("[2]"), noSkyLight}));
    EXPECT_TRUE(DisplayPower::setPower(true, 2).success);
    EXPECT_FALSE(mac.display(2).enabled);
}

TEST_F(KnownLimits, a_blackout_that_ends_with_its_process_leaves_the_brightness_at_0) {
    Mac& mac = boot(scene({main1, ddc2}, {noSkyLight}));
    inChildProcess([&mac] {
        mac.failCall(fails("IOI2CSendRequest").with(-1)); // the power message, not the brightness
        (void)DisplayPower::setPower(false, 2);
        return std::string();
    });
    EXPECT_EQ(mac.display(2).gamma, "normal");
    EXPECT_EQ(mac.display(2).brightness, 0);
}

TEST_F(KnownLimits, the_first_list_waits_for_the_system_profiler) {
    boot(scene({main1, studio2}, {R"("profiler": { "delay": 0.3 })"}));
    const auto displays = DisplayStore::shared().listDisplays();
    ASSERT_EQ(displays.size(), 2u);
    EXPECT_EQ(displays[1].name, "Studio");
}

TEST_F(KnownLimits, any_answer_but_0_makes_a_display_the_main_one) {
    Mac& mac = boot(scene({main1, plain2}));
    mac.failCall(fails("CGDisplayIsMain").every().with(-1));
    EXPECT_EQ(DisplayPower::setPower(false, 2).message, "主屏禁止关闭，已阻止");
    for (const DisplayItem& display : DisplayStore::shared().listDisplays()) {
        EXPECT_TRUE(display.isMain) << display.id;
    }
    mac.clearFaults();
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    mac.failCall(fails("CGDisplayIsMain").every().with(-1));
    EXPECT_TRUE(DisplayPower::setPower(true, 2).success);
    EXPECT_TRUE(mac.display(2).lit) << "the way out";
}

TEST_F(KnownLimits, a_display_that_nobody_can_see_counts_as_the_one_that_remains) {
    Mac& mac =
        boot(scene({R"({ "id": 1, "main": true, "screenName": "Virtual Display" })", plain2}));
    EXPECT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_FALSE(mac.display(2).lit);
}

} // namespace

} // namespace veilpane::test
