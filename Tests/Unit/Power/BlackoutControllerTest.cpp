#include "Veilpane/Power/BlackoutController.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

namespace veilpane::test {

namespace {

using simulated_mac::Mac;

using Blackout = SimulatedMacTest;

BlackoutController& controller() {
    return BlackoutController::shared();
}

const std::vector<std::string> changes = {
    "CGBeginDisplayConfiguration",      "CGConfigureDisplayMirrorOfDisplay",
    "CGCancelDisplayConfiguration",     "CGCompleteDisplayConfiguration",
    "CGGetDisplayTransferByTable",      "CGSetDisplayTransferByTable",
    "CGDisplayRestoreColorSyncSettings"};

TEST_F(Blackout, mirrors_the_display_and_then_zeroes_its_tables) {
    Mac& mac = boot(scene({main1, plain2}));
    controller().blackout(2);
    EXPECT_TRUE(controller().isBlackedOut(2));
    EXPECT_EQ(mac.display(2).mirrors, 1u);
    EXPECT_EQ(mac.display(2).gamma, "zero");
    EXPECT_FALSE(mac.display(2).lit);
    EXPECT_EQ(calls(changes),
              (std::vector<std::string>{"CGBeginDisplayConfiguration() = 0",
                                        "CGConfigureDisplayMirrorOfDisplay(1, 2, 1) = 0",
                                        "CGCompleteDisplayConfiguration(1, 1) = 0",
                                        "CGGetDisplayTransferByTable(2, 256) = 0",
                                        "CGSetDisplayTransferByTable(2, 256) = 0"}));
}

TEST_F(Blackout, restore_puts_everything_back) {
    Mac& mac = boot(scene({main1, plain2}));
    controller().blackout(2);
    mac.clearCalls();
    controller().restore(2);
    EXPECT_FALSE(controller().isBlackedOut(2));
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_EQ(mac.display(2).gamma, "normal");
    EXPECT_TRUE(mac.display(2).lit);
    EXPECT_EQ(calls(changes),
              (std::vector<std::string>{"CGSetDisplayTransferByTable(2, 256) = 0",
                                        "CGBeginDisplayConfiguration() = 0",
                                        "CGConfigureDisplayMirrorOfDisplay(2, 2, 0) = 0",
                                        "CGCompleteDisplayConfiguration(2, 1) = 0"}));
}

TEST_F(Blackout, a_second_blackout_does_nothing_even_after_a_partial_first_one) {
    Mac& mac =
        boot(scene({main1, plain2}, {faults({fails("CGBeginDisplayConfiguration").with(1000)})}));
    controller().blackout(2);
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    mac.clearCalls();
    controller().blackout(2);
    EXPECT_TRUE(calls().empty());
}

TEST_F(Blackout, the_only_active_display_is_zeroed_without_a_mirror) {
    Mac& mac = boot(scene({main1}));
    controller().blackout(1);
    EXPECT_TRUE(controller().isBlackedOut(1));
    EXPECT_EQ(mac.display(1).gamma, "zero");
    EXPECT_TRUE(calls({"CGBeginDisplayConfiguration"}).empty());
}

TEST_F(Blackout, the_main_display_is_the_preferred_mirror_master) {
    Mac& mac = boot(scene({R"({ "id": 5, "main": true })", R"({ "id": 4 })", R"({ "id": 1 })"}));
    // As if another display had just become the main one: no longer the first of the active list.
    mac.failCall(fails("CGDisplayIsMain").with(0));
    mac.failCall(fails("CGDisplayIsMain").nth(2).with(1));
    controller().blackout(4);
    EXPECT_EQ(mac.display(4).mirrors, 1u);
    EXPECT_EQ(calls({"CGDisplayIsMain"}),
              (std::vector<std::string>{"CGDisplayIsMain(5) = 0", "CGDisplayIsMain(1) = 1"}));
}

TEST_F(Blackout, without_a_main_candidate_the_first_active_one_is_the_master) {
    Mac& mac = boot(scene({main1, plain3, plain2}));
    controller().blackout(1);
    EXPECT_EQ(mac.display(1).mirrors, 3u);
}

TEST_F(Blackout, a_listed_display_that_is_not_active_is_no_master) {
    Mac& mac = boot(scene({main1, plain2, plain3}));
    mac.failCall(fails("CGDisplayIsActive").with(0));
    controller().blackout(2);
    EXPECT_EQ(mac.display(2).mirrors, 3u);
}

TEST_F(Blackout, at_most_16_active_displays_are_considered) {
    boot();
    controller().blackout(2);
    EXPECT_EQ(calls({"CGGetActiveDisplayList"}),
              (std::vector<std::string>{"CGGetActiveDisplayList(16) = 0"}));
}

struct MirrorFailure {
    const char* name;
    simulated_mac::SceneFault fault;

    friend void PrintTo(const MirrorFailure& row, std::ostream* stream) { *stream << row.name; }
};

class FailedMirror : public SimulatedMacTest, public testing::WithParamInterface<MirrorFailure> {};

TEST_P(FailedMirror, leaves_the_rest_of_the_blackout_standing) {
    Mac& mac = boot(scene({main1, plain2}, {faults({GetParam().fault})}));
    controller().blackout(2);
    EXPECT_TRUE(controller().isBlackedOut(2));
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_EQ(mac.display(2).gamma, "zero");
}

INSTANTIATE_TEST_SUITE_P(
    Blackout, FailedMirror,
    testing::Values(
        MirrorFailure{"no_active_list", fails("CGGetActiveDisplayList").with(1000)},
        MirrorFailure{"begin_fails", fails("CGBeginDisplayConfiguration").with(1000)},
        MirrorFailure{"begin_succeeds_with_null", fails("CGBeginDisplayConfiguration").withNull()},
        MirrorFailure{"mirror_refused", fails("CGConfigureDisplayMirrorOfDisplay").with(1001)},
        MirrorFailure{"completion_fails", fails("CGCompleteDisplayConfiguration").with(1004)}),
    [](const auto& info) { return info.param.name; });

TEST_F(Blackout, a_refused_mirror_is_cancelled_but_a_failed_completion_is_not) {
    Mac& mac = boot(scene({main1, plain2}));
    mac.failCall(fails("CGConfigureDisplayMirrorOfDisplay").with(1001));
    controller().blackout(2);
    EXPECT_EQ(calls({"CGCancelDisplayConfiguration"}).size(), 1u);
    EXPECT_TRUE(calls({"CGCompleteDisplayConfiguration"}).empty());

    Mac& second = boot(scene({main1, plain3}));
    second.failCall(fails("CGCompleteDisplayConfiguration").with(1000));
    controller().blackout(3);
    EXPECT_TRUE(calls({"CGCancelDisplayConfiguration"}).empty());
    EXPECT_EQ(calls({"CGCompleteDisplayConfiguration"}).size(), 1u);
}

TEST_F(Blackout, brightness_comes_back_as_100) {
    Mac& mac = boot(scene({main1, ddc2}));
    controller().blackout(2);
    EXPECT_EQ(mac.display(2).brightness, 0);
    controller().restore(2);
    EXPECT_EQ(mac.display(2).brightness, 100);
}

// The other way round the picture would be there for a moment, and dark.
TEST_F(Blackout, the_backlight_is_bright_before_the_picture_comes_back) {
    Mac& mac = boot(scene({main1, ddc2}));
    controller().blackout(2);
    mac.clearCalls();
    controller().restore(2);
    const auto made = calls({"IOI2CSendRequest", "CGSetDisplayTransferByTable"});
    ASSERT_EQ(made.size(), 2u);
    EXPECT_TRUE(made[0].starts_with("IOI2CSendRequest")) << made[0];
    EXPECT_EQ(made[1], "CGSetDisplayTransferByTable(2, 256) = 0");
}

TEST_F(Blackout, brightness_that_was_not_zeroed_is_left_alone) {
    Mac& mac = boot(scene({main1, ddc2}));
    mac.failCall(fails("IOI2CSendRequest").with(1));
    controller().blackout(2);
    EXPECT_EQ(mac.display(2).brightness, 40);
    mac.clearCalls();
    controller().restore(2);
    EXPECT_EQ(mac.display(2).brightness, 40);
    EXPECT_TRUE(calls({"IOI2CSendRequest"}).empty());
}

TEST_F(Blackout, without_ddc_no_message_is_tried) {
    boot(scene({main1, plain2}));
    controller().blackout(2);
    EXPECT_TRUE(calls({"IOI2CInterfaceOpen", "IOI2CSendRequest"}).empty());
}

TEST_F(Blackout, restoring_survives_a_monitor_that_no_longer_answers) {
    Mac& mac = boot(scene({main1, ddc2}));
    controller().blackout(2);
    mac.failCall(fails("IOI2CSendRequest").with(1));
    controller().restore(2);
    EXPECT_EQ(mac.display(2).brightness, 0);
    EXPECT_EQ(mac.display(2).gamma, "normal");
    EXPECT_EQ(mac.display(2).mirrors, 0u);
}

TEST_F(Blackout, the_tables_saved_first_come_back_exactly) {
    Mac& mac = boot(scene({main1, plain2}));
    std::vector<CGGammaValue> dim(256), dimmer(256), dimmest(256);
    for (std::size_t i = 0; i < dim.size(); ++i) {
        dim[i] = static_cast<CGGammaValue>(i) / 512;
        dimmer[i] = dim[i] / 2;
        dimmest[i] = dim[i] / 4;
    }
    ASSERT_EQ(CGSetDisplayTransferByTable(2, 256, dim.data(), dimmer.data(), dimmest.data()), 0);
    controller().blackout(2);
    controller().blackout(2);
    EXPECT_EQ(mac.display(2).gamma, "zero");
    controller().restore(2);
    std::vector<CGGammaValue> red(256), green(256), blue(256);
    ASSERT_EQ(CGGetDisplayTransferByTable(2, 256, red.data(), green.data(), blue.data(), nullptr),
              0);
    EXPECT_EQ(red, dim);
    EXPECT_EQ(green, dimmer);
    EXPECT_EQ(blue, dimmest);
}

TEST_F(Blackout, a_failed_table_read_is_restored_by_the_global_reset) {
    Mac& mac = boot(scene({main1, R"({ "id": 2, "gamma": false })"}));
    controller().blackout(2);
    EXPECT_EQ(mac.display(2).gamma, "zero");
    mac.clearCalls();
    controller().restore(2);
    EXPECT_EQ(calls({"CGDisplayRestoreColorSyncSettings", "CGSetDisplayTransferByTable"}),
              (std::vector<std::string>{"CGDisplayRestoreColorSyncSettings()"}));
    EXPECT_EQ(mac.display(2).gamma, "normal");
}

TEST_F(Blackout, restoring_a_display_without_an_entry_only_ends_its_mirroring) {
    Mac& mac = boot(scene({main1, mirror2}));
    controller().restore(2);
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_TRUE(calls({"CGSetDisplayTransferByTable", "CGDisplayRestoreColorSyncSettings",
                       "IOI2CSendRequest"})
                    .empty());
    mac.clearCalls();
    controller().restore(2);
    EXPECT_EQ(calls(), (std::vector<std::string>{"CGDisplayIsInMirrorSet(2) = 0"}));
}

TEST_F(Blackout, the_main_display_is_never_unmirrored) {
    Mac& mac = boot(scene({main1, mirror2}));
    controller().restore(1);
    EXPECT_EQ(mac.display(2).mirrors, 1u);
    EXPECT_TRUE(calls({"CGBeginDisplayConfiguration"}).empty());
}

TEST_F(Blackout, a_failed_unmirroring_is_given_up_silently) {
    const std::vector<simulated_mac::SceneFault> faults = {
        fails("CGBeginDisplayConfiguration").with(1000),
        fails("CGBeginDisplayConfiguration").withNull(),
        fails("CGConfigureDisplayMirrorOfDisplay").with(1000),
        fails("CGCompleteDisplayConfiguration").with(1000)};
    for (const auto& fault : faults) {
        Mac& mac = boot(scene({main1, mirror2}));
        mac.failCall(fault);
        controller().restore(2);
        EXPECT_EQ(mac.display(2).mirrors, 1u) << fault.call;
        EXPECT_EQ(simulated_mac::ledger::outstanding(), "") << fault.call;
    }
}

TEST_F(Blackout, restore_all_restores_every_display_and_forgets_it) {
    Mac& mac = boot(scene({main1, ddc2, plain3}));
    controller().blackout(2);
    controller().blackout(3);
    controller().restoreAll();
    for (const CGDirectDisplayID id : {2u, 3u}) {
        EXPECT_FALSE(controller().isBlackedOut(id));
        EXPECT_TRUE(mac.display(id).lit);
        EXPECT_EQ(mac.display(id).mirrors, 0u);
        EXPECT_EQ(mac.display(id).gamma, "normal");
    }
    EXPECT_EQ(mac.display(2).brightness, 100);
}

TEST_F(Blackout, restore_all_ends_mirrors_of_others_too) {
    Mac& mac = boot(scene({main1, mirror2, R"({ "id": 3, "mirrors": 1 })"}));
    controller().restoreAll();
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_EQ(mac.display(3).mirrors, 0u);
    EXPECT_EQ(calls({"CGGetOnlineDisplayList"}),
              (std::vector<std::string>{"CGGetOnlineDisplayList(16) = 0"}));
}

TEST_F(Blackout, restore_all_gives_back_what_this_program_has_blacked_out_whatever_its_place) {
    for (const int online : {16, 17, 32, 33}) {
        Mac& mac = boot(scene({numberedDisplays(online)}));
        const auto last = static_cast<CGDirectDisplayID>(online);
        controller().blackout(last);
        EXPECT_EQ(mac.display(last).mirrors, 1u) << online;
        EXPECT_FALSE(mac.display(last).lit) << online;
        controller().restoreAll();
        EXPECT_EQ(mac.display(last).mirrors, 0u) << online;
        EXPECT_TRUE(mac.display(last).lit) << online;
    }
}

TEST_F(Blackout, restore_all_stops_at_an_online_list_that_fails) {
    Mac& mac = boot(scene({main1, mirror2}));
    mac.failCall(fails("CGGetOnlineDisplayList").with(1000));
    controller().restoreAll();
    EXPECT_EQ(mac.display(2).mirrors, 1u);
    EXPECT_TRUE(calls({"CGDisplayIsInMirrorSet"}).empty());
}

TEST_F(Blackout, a_mirror_ends_with_the_login_session) {
    Mac& mac = boot(scene({main1, plain2}));
    controller().blackout(2);
    mac.logOut();
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_TRUE(mac.display(2).lit);
}

} // namespace

} // namespace veilpane::test
