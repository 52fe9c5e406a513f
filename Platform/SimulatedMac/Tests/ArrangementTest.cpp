#include "SimulatedMac/World/MacState.h"

#include <gtest/gtest.h>

namespace simulated_mac {
namespace {

using IDs = std::vector<uint32_t>;

/// Displays 3, 1 (main, built-in) and 2, of which 2 is the largest and 3 the smallest.
Scene sceneWith(const std::string& more = "") {
    return Scene::parse(R"({ "displays": [
        { "id": 3, "pixels": [800, 600] },
        { "id": 1, "main": true, "builtin": true, "pixels": [1440, 900] },
        { "id": 2, "pixels": [3840, 2160] } ])" +
                            more + "}",
                        "scene");
}
MacState stateWith(const std::string& more = "") {
    return MacState(sceneWith(more));
}

GammaTable black() {
    const std::vector<float> channel(256, 0.0F);
    return {channel, channel, channel};
}

TEST(MainDisplay, of_a_software_mirror_set_is_its_largest) {
    MacState state = stateWith(R"(, "mirroring": "software")");
    state.setMirrorMaster(2, 1, false);
    EXPECT_EQ(state.main(), 2u);
    EXPECT_EQ(state.active(), (IDs{2, 3, 1}));
    state.setMirrorMaster(2, 0, false);
    EXPECT_EQ(state.main(), 1u);
    state.setMirrorMaster(3, 1, false);
    EXPECT_EQ(state.main(), 1u);
}

TEST(MainDisplay, of_a_hardware_mirror_set_stays_the_master_whatever_the_sizes) {
    MacState state = stateWith();
    state.setMirrorMaster(2, 1, false);
    EXPECT_EQ(state.main(), 1u);
}

TEST(MainDisplay, of_a_mirror_set_is_the_master_or_the_largest_where_the_scene_says_so) {
    for (const std::string mirroring : {"software", "hardware"}) {
        const std::string members = R"(, "mirroring": ")" + mirroring + R"(", "mirrorMain": )";
        MacState byMaster = stateWith(members + R"("master")");
        byMaster.setMirrorMaster(2, 1, true);
        EXPECT_EQ(byMaster.main(), 1u) << mirroring;
        MacState bySize = stateWith(members + R"("largest")");
        bySize.setMirrorMaster(2, 1, true);
        EXPECT_EQ(bySize.main(), 2u) << mirroring;
    }
}

TEST(MainDisplay, of_a_software_mirror_set_without_sizes_is_the_master) {
    MacState state(Scene::parse(R"({ "mirroring": "software", "displays": [ { "id": 3 },
        { "id": 1, "main": true }, { "id": 2 } ] })",
                                "scene"));
    state.setMirrorMaster(2, 1, false);
    EXPECT_EQ(state.main(), 1u);
    state.setMirrorMaster(2, 0, false);
    state.setMirrorMaster(1, 2, false);
    EXPECT_EQ(state.main(), 2u);
}

TEST(MainDisplay, that_mirrors_another_hands_over_to_the_master_of_the_set) {
    MacState state = stateWith();
    state.setMirrorMaster(1, 2, false);
    EXPECT_EQ(state.main(), 2u);
    EXPECT_EQ(state.active(), (IDs{2, 3}));
}

TEST(MainDisplay, can_be_chosen_for_the_session_or_permanently) {
    MacState state = stateWith();
    state.setMain(3, false);
    EXPECT_EQ(state.main(), 3u);
    state.logOut();
    EXPECT_EQ(state.main(), 1u);
    state.setMain(2, true);
    state.reboot();
    EXPECT_EQ(state.main(), 2u);
    state.unplug(2);
    EXPECT_EQ(state.main(), 3u);
    state.plug(2);
    EXPECT_EQ(state.main(), 2u);
}

TEST(DisplayIDs, change_when_a_display_is_plugged_in_under_another_one) {
    MacState state = stateWith();
    state.setMirrorMaster(3, 2, true);
    state.plugAs(2, 7);
    EXPECT_EQ(state.online(), (IDs{3, 1, 7}));
    EXPECT_FALSE(state.isKnown(2));
    EXPECT_EQ(state.mirrorMaster(3), 7u);
    state.reboot();
    EXPECT_EQ(state.mirrorMaster(3), 7u);
}

TEST(DisplayIDs, of_an_unplugged_display_are_used_again) {
    MacState state = stateWith();
    state.unplug(2);
    state.unplug(3);
    state.plugAs(3, 2);
    EXPECT_EQ(state.ids(), (IDs{2, 1, 3}));
    EXPECT_EQ(state.online(), (IDs{2, 1}));
    state.plug(3);
    EXPECT_EQ(state.online(), (IDs{2, 1, 3}));
}

TEST(DisplayIDs, in_use_or_0_are_not_given) {
    MacState state = stateWith();
    EXPECT_THROW(state.plugAs(2, 1), std::invalid_argument);
    EXPECT_THROW(state.plugAs(2, 0), std::invalid_argument);
    state.plugAs(2, 2);
    EXPECT_EQ(state.online(), (IDs{3, 1, 2}));
}

TEST(DisplayIDs, are_permuted_by_a_restart_that_renumbers) {
    MacState state = stateWith();
    state.setEnabled(2, false, true);
    state.rebootRenumbered();
    EXPECT_EQ(state.ids(), (IDs{1, 2, 3}));
    EXPECT_EQ(state.main(), 2u);
    EXPECT_FALSE(state.isEnabled(3));
}

TEST(DisplayIDs, that_are_no_longer_in_use_can_be_configured_without_effect) {
    MacState state = stateWith();
    state.plugAs(2, 7);
    const auto before = state.toJson();
    state.setEnabled(2, false, true);
    state.setMirrorMaster(2, 1, true);
    state.setGamma(2, black(), thisProcess());
    EXPECT_EQ(state.toJson(), before);
}

TEST(DisplayIDs, are_stored) {
    MacState state = stateWith(R"(, "gammaExitZeroes": 2)");
    state.setMirrorMaster(3, 2, true);
    state.plugAs(2, 7);
    const MacState copy(sceneWith(), state.toJson());
    EXPECT_EQ(copy.ids(), state.ids());
    EXPECT_EQ(copy.mirrorMaster(3), 7u);
    EXPECT_EQ(copy.toJson(), state.toJson());
}

TEST(DisplayIDs, fall_back_to_the_scenes_when_it_has_gained_a_display_of_one_in_use) {
    MacState state = stateWith();
    state.setMirrorMaster(3, 2, true);
    state.plugAs(2, 7);
    const MacState later(Scene::parse(R"({ "displays": [ { "id": 3 }, { "id": 1 }, { "id": 2 },
        { "id": 7 } ] })",
                                      "scene"),
                         state.toJson());
    EXPECT_EQ(later.online(), (IDs{3, 1, 2, 7}));
    EXPECT_EQ(later.mirrorMaster(3), 2u);
}

TEST(Sleep, leaves_the_displays_online_and_on_the_desktop_but_not_active) {
    MacState state = stateWith();
    state.sleep();
    EXPECT_EQ(state.online(), (IDs{3, 1, 2}));
    EXPECT_EQ(state.screens(), (IDs{1, 3, 2}));
    EXPECT_EQ(state.active(), IDs{});
    EXPECT_EQ(state.main(), 1u);
    state.wake();
    EXPECT_EQ(state.active(), (IDs{1, 3, 2}));
}

TEST(Sleep, of_one_display_ends_by_plugging_it_in_and_of_all_by_a_restart) {
    MacState state = stateWith();
    state.sleep();
    state.unplug(2);
    state.plug(2);
    EXPECT_EQ(state.active(), IDs{2});
    state.reboot();
    EXPECT_EQ(state.active(), (IDs{1, 3, 2}));
}

TEST(ClosedLid, switches_the_built_in_display_off_while_there_is_another_one) {
    MacState state = stateWith();
    state.closeLid(1);
    EXPECT_EQ(state.online(), (IDs{3, 2}));
    EXPECT_EQ(state.known(), (IDs{3, 1, 2}));
    EXPECT_EQ(state.main(), 3u);
    state.reboot();
    EXPECT_EQ(state.online(), (IDs{3, 2}));
    state.openLid(1);
    EXPECT_EQ(state.active(), (IDs{1, 3, 2}));
}

TEST(ClosedLid, puts_the_built_in_display_to_sleep_when_it_is_the_only_one) {
    MacState state = stateWith();
    state.unplug(2);
    state.setEnabled(3, false, false);
    state.closeLid(1);
    EXPECT_EQ(state.online(), IDs{1});
    EXPECT_EQ(state.active(), IDs{});
    state.setEnabled(3, true, false);
    EXPECT_EQ(state.online(), IDs{3});
}

TEST(GammaReloads, at_the_next_completion_plugging_sleep_wake_and_lid) {
    const std::vector<std::pair<std::string, void (*)(MacState&)>> events = {
        {"completion", [](MacState& state) { state.finishConfiguration(false); }},
        {"unplug", [](MacState& state) { state.unplug(3); }},
        {"plug", [](MacState& state) { state.plug(3); }},
        {"sleep", [](MacState& state) { state.sleep(); }},
        {"wake", [](MacState& state) { state.wake(); }},
        {"lid", [](MacState& state) { state.closeLid(1); }},
    };
    for (const auto& [name, happen] : events) {
        for (const bool reloads : {true, false}) {
            MacState state = stateWith(reloads ? R"(, "gammaReloads": true)" : "");
            state.setGamma(2, black(), thisProcess());
            happen(state);
            EXPECT_EQ(state.gammaKind(2), reloads ? "normal" : "zero") << name;
        }
    }
}

TEST(GammaExitZeroes, makes_another_display_black_when_a_process_ends_that_had_set_a_table) {
    MacState state = stateWith(R"(, "gammaExitZeroes": 3)");
    ProcessIdentity ended = thisProcess();
    --ended.start;
    state.setGamma(2, black(), thisProcess());
    state.forgetEndedOwners();
    EXPECT_EQ(state.gammaKind(3), "normal");
    state.setGamma(2, black(), ended);
    EXPECT_EQ(state.gammaKind(2), "normal");
    EXPECT_EQ(state.gammaKind(3), "zero");
    state.forgetEndedOwners();
    state.setGamma(2, black(), thisProcess());
    EXPECT_EQ(state.gammaKind(3), "zero");
    EXPECT_EQ(MacState(sceneWith(), state.toJson()).gammaKind(3), "zero");
    state.resetGamma();
    EXPECT_EQ(state.gammaKind(3), "normal");
}

TEST(GammaOutlivesProcess, lets_a_table_stay_until_all_are_restored) {
    MacState state = stateWith(R"(, "gammaOutlivesProcess": true, "gammaExitZeroes": 3)");
    ProcessIdentity ended = thisProcess();
    --ended.start;
    state.setGamma(2, black(), ended);
    EXPECT_EQ(state.gammaKind(2), "zero");
    state.forgetEndedOwners();
    EXPECT_EQ(state.gammaKind(2), "zero");
    EXPECT_EQ(MacState(sceneWith(), state.toJson()).gammaKind(2), "zero");
    EXPECT_EQ(state.gammaKind(3), "zero");
    state.resetGamma();
    EXPECT_EQ(state.gammaKind(2), "normal");
    EXPECT_EQ(state.gammaKind(3), "normal");
}

TEST(GammaOutlivesDisabling, gives_a_display_that_is_enabled_again_its_table_from_before) {
    for (const bool outlives : {false, true}) {
        MacState state = stateWith(outlives ? R"(, "gammaOutlivesDisabling": true)" : "");
        state.setGamma(2, black(), thisProcess());
        state.setEnabled(2, false, true);
        state.setEnabled(2, true, true);
        EXPECT_EQ(state.gammaKind(2), outlives ? "zero" : "normal");
    }
}

TEST(PermanentChanges, may_silently_be_of_the_session) {
    MacState state = stateWith(R"(, "permanent": "session")");
    state.setEnabled(2, false, true);
    state.setMirrorMaster(3, 1, true);
    state.setMain(3, true);
    state.finishConfiguration(true);
    EXPECT_FALSE(state.isEnabled(2));
    EXPECT_EQ(state.mirrorMaster(3), 1u);
    state.logOut();
    EXPECT_TRUE(state.isEnabled(2));
    EXPECT_EQ(state.mirrorMaster(3), 0u);
    EXPECT_EQ(state.main(), 1u);
}

TEST(PermanentChanges, may_keep_the_whole_arrangement) {
    for (const bool all : {true, false}) {
        MacState state = stateWith(all ? R"(, "permanentKeeps": "all")" : "");
        state.setMirrorMaster(3, 1, false);
        state.finishConfiguration(false);
        state.setEnabled(2, false, true);
        state.finishConfiguration(true);
        state.reboot();
        EXPECT_FALSE(state.isEnabled(2));
        EXPECT_EQ(state.mirrorMaster(3), all ? 1u : 0u);
    }
}

TEST(NoSession, has_no_displays) {
    const MacState state = stateWith(R"(, "session": false)");
    EXPECT_EQ(state.known(), IDs{});
    EXPECT_EQ(state.online(), IDs{});
    EXPECT_EQ(state.active(), IDs{});
    EXPECT_EQ(state.main(), std::nullopt);
    EXPECT_TRUE(state.isConnected(2));
}

TEST(StoredState, of_a_sleeping_mac_with_a_closed_lid_reads_back_the_same) {
    MacState state = stateWith();
    state.unplug(3);
    state.plug(3);
    state.setMain(2, true);
    state.sleep();
    state.closeLid(1);
    const MacState copy(sceneWith(), state.toJson());
    EXPECT_EQ(copy.toJson(), state.toJson());
    EXPECT_EQ(copy.pluggings(), 2);
    EXPECT_EQ(copy.main(), 2u);
    EXPECT_TRUE(copy.isAsleep(3));
    EXPECT_EQ(copy.online(), state.online());
}

TEST(StoredState, without_habits_has_only_the_members_it_always_had) {
    EXPECT_EQ(stateWith().toJson()["2"].dump(),
              R"({"brightness":0,"connected":true,"droppedMessages":0,)"
              R"("permanent":{"enabled":true,"mirrors":0},)"
              R"("session":{"enabled":true,"mirrors":0},"standby":false})");
}

TEST(SceneOfHabits, every_mistake_is_one_line_that_names_the_key) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"({ "permanent": true })", "s: permanent: must be \"permanent\" or \"session\""},
        {R"({ "permanentKeeps": "none" })", "s: permanentKeeps: must be \"change\" or \"all\""},
        {R"({ "gammaReloads": 1 })", "s: gammaReloads: must be true or false"},
        {R"({ "gammaExitZeroes": "2" })", "s: gammaExitZeroes: must be a whole number"},
        {R"({ "gammaExitZeroes": 2 })", "s: gammaExitZeroes: no display 2"},
        {R"({ "gammaOutlivesProcess": 1 })", "s: gammaOutlivesProcess: must be true or false"},
        {R"({ "gammaOutlivesDisabling": "2" })",
         "s: gammaOutlivesDisabling: must be true or false"},
        {R"({ "mirrorMain": "smallest" })", "s: mirrorMain: must be \"master\" or \"largest\""},
        {R"({ "settleCalls": -1 })", "s: settleCalls: not within 0 and 10000"},
        {R"({ "session": 0 })", "s: session: must be true or false"},
        {R"({ "displays": [ { "id": 1, "pixels": 5 } ] })",
         "s: displays[0].pixels: must be [width, height]"},
        {R"({ "displays": [ { "id": 1, "pixels": [ 5 ] } ] })",
         "s: displays[0].pixels: must be [width, height]"},
        {R"({ "displays": [ { "id": 1, "pixels": [ 5, 0 ] } ] })",
         "s: displays[0].pixels[1]: not within 1 and 1048576"},
    };
    for (const auto& [text, error] : rows) {
        try {
            (void)Scene::parse(text, "s");
            ADD_FAILURE() << text;
        } catch (const SceneError& thrown) {
            EXPECT_EQ(thrown.what(), error);
        }
    }
}

} // namespace
} // namespace simulated_mac
