#include "SimulatedMac/World/MacState.h"

#include <gtest/gtest.h>
#include <limits>
#include <sys/wait.h>
#include <unistd.h>

namespace simulated_mac {
namespace {

using IDs = std::vector<uint32_t>;

MacState stateOf(const std::string& scene) {
    return MacState(Scene::parse(scene, "scene"));
}

const std::string three =
    R"({ "displays": [ { "id": 3 }, { "id": 1, "main": true }, { "id": 2, "ddc": { "brightness": 30 } } ] )";
MacState threeDisplays(const std::string& more = "") {
    return stateOf(three + more + "}");
}

GammaTable filledWith(float value) {
    const std::vector<float> channel(256, value);
    return {channel, channel, channel};
}

std::string errorOfStored(const Scene& scene, const nlohmann::json& stored) {
    try {
        (void)MacState(scene, stored, "state.json");
    } catch (const InputError& error) {
        return error.what();
    }
    return "no error";
}

TEST(MacStateTest, the_online_list_keeps_the_scenes_order_and_the_active_list_starts_with_main) {
    const MacState state = threeDisplays();
    EXPECT_EQ(state.online(), (IDs{3, 1, 2}));
    EXPECT_EQ(state.active(), (IDs{1, 3, 2}));
    EXPECT_EQ(state.main(), 1u);
}

TEST(MacStateTest, a_disabled_display_leaves_the_lists_but_stays_known) {
    MacState state = threeDisplays();
    state.setEnabled(2, false, true);
    EXPECT_EQ(state.known(), (IDs{3, 1, 2}));
    EXPECT_EQ(state.online(), (IDs{3, 1}));
    EXPECT_FALSE(state.isActive(2));
    EXPECT_TRUE(state.isKnown(2));
}

TEST(MacStateTest, hardware_mirroring_takes_a_display_out_of_the_active_list_only) {
    MacState state = threeDisplays();
    state.setMirrorMaster(2, 1, false);
    EXPECT_EQ(state.online(), (IDs{3, 1, 2}));
    EXPECT_EQ(state.active(), (IDs{1, 3}));
    EXPECT_TRUE(state.isInMirrorSet(1));
    EXPECT_TRUE(state.isInMirrorSet(2));
    EXPECT_FALSE(state.isInMirrorSet(3));
}

TEST(MacStateTest, software_mirroring_keeps_it_active) {
    MacState state = threeDisplays(R"(, "mirroring": "software")");
    state.setMirrorMaster(2, 1, false);
    EXPECT_EQ(state.active(), (IDs{1, 3, 2}));
    EXPECT_TRUE(state.isInMirrorSet(2));
}

TEST(MacStateTest, mirror_sets_stay_one_deep) {
    MacState state = threeDisplays();
    state.setMirrorMaster(2, 3, false);
    state.setMirrorMaster(3, 1, false);
    EXPECT_EQ(state.mirrorMaster(2), 1u);
    EXPECT_EQ(state.mirrorMaster(3), 1u);
    state.setMirrorMaster(2, 0, false);
    EXPECT_EQ(state.mirrorMaster(2), 0u);
    EXPECT_EQ(state.mirrorMaster(3), 1u);
}

TEST(MacStateTest, a_mirror_whose_master_is_gone_stands_alone) {
    MacState state = threeDisplays();
    state.setMirrorMaster(2, 3, false);
    state.unplug(3);
    EXPECT_EQ(state.mirrorMaster(2), 0u);
    EXPECT_TRUE(state.isActive(2));
}

TEST(MacStateTest, another_active_display_becomes_main_and_the_old_one_gets_it_back) {
    MacState state = threeDisplays();
    state.unplug(1);
    EXPECT_EQ(state.main(), 3u);
    EXPECT_EQ(state.active(), (IDs{3, 2}));
    state.plug(1);
    EXPECT_EQ(state.main(), 1u);
}

TEST(MacStateTest, without_a_marked_one_the_first_drawable_display_is_main) {
    EXPECT_EQ(stateOf(R"({ "displays": [ { "id": 5, "enabled": false }, { "id": 6, "mirrors": 7 },
        { "id": 7 } ] })")
                  .main(),
              7u);
    EXPECT_EQ(stateOf(R"({ "displays": [] })").main(), std::nullopt);
}

TEST(MacStateTest, a_session_change_ends_at_logout_and_a_permanent_one_survives_a_reboot) {
    MacState state = threeDisplays();
    state.setEnabled(2, false, false);
    state.setEnabled(3, false, true);
    state.logOut();
    EXPECT_TRUE(state.isOnline(2));
    EXPECT_FALSE(state.isOnline(3));
    state.setMirrorMaster(2, 1, false);
    state.reboot();
    EXPECT_EQ(state.mirrorMaster(2), 0u);
    EXPECT_FALSE(state.isOnline(3));
}

TEST(MacStateTest, an_unplugged_display_is_in_no_list_and_comes_back_enabled) {
    MacState state = threeDisplays();
    state.setEnabled(2, false, true);
    state.unplug(2);
    EXPECT_EQ(state.known(), (IDs{3, 1}));
    state.plug(2);
    EXPECT_TRUE(state.isOnline(2));
    state.reboot();
    EXPECT_TRUE(state.isOnline(2));
}

TEST(MacStateTest, a_monitor_obeys_valid_messages) {
    MacState state = threeDisplays();
    state.monitorReceives(2, 0x6E, std::vector<uint8_t>{0x51, 0x84, 0x03, 0x10, 0, 100, 0xCC});
    EXPECT_EQ(state.brightness(2), 100);
    state.monitorReceives(2, 0x6E, std::vector<uint8_t>{0x51, 0x84, 0x03, 0x0C, 0, 5, 0xB1});
    EXPECT_TRUE(state.isInStandby(2));
    state.monitorReceives(2, 0x6E, std::vector<uint8_t>{0x51, 0x84, 0x03, 0x0C, 0, 1, 0xB5});
    EXPECT_FALSE(state.isInStandby(2));
    EXPECT_EQ(state.droppedMessages(2), 0);
}

TEST(MacStateTest, a_bad_message_is_dropped_and_counted) {
    const std::vector<std::pair<uint32_t, std::vector<uint8_t>>> messages = {
        {0x6F, {0x51, 0x84, 0x03, 0x0C, 0, 5, 0xB1}}, // not its address
        {0x6E, {0x51, 0x84, 0x03, 0x0C, 0, 5, 0xB0}}, // wrong checksum
        {0x6E, {0x51, 0x83, 0x03, 0x0C, 0, 5, 0xB6}}, // wrong length byte
        {0x6E, {0x51, 0x84, 0x01, 0x0C, 0, 5, 0xB3}}, // not Set VCP Feature
        {0x6E, {0x51, 0x84, 0x03, 0x0C, 0, 5}},       {0x6E, {}},
    };
    MacState state = threeDisplays();
    int dropped = 0;
    for (const auto& [address, bytes] : messages) {
        state.monitorReceives(2, address, bytes);
        EXPECT_EQ(state.droppedMessages(2), ++dropped);
        EXPECT_FALSE(state.isInStandby(2));
    }
}

TEST(MacStateTest, standby_and_brightness_survive_a_reboot_and_standby_ends_by_plugging_in) {
    MacState state = threeDisplays();
    state.monitorReceives(2, 0x6E, std::vector<uint8_t>{0x51, 0x84, 0x03, 0x0C, 0, 5, 0xB1});
    state.logOut();
    state.reboot();
    EXPECT_TRUE(state.isInStandby(2));
    EXPECT_EQ(state.brightness(2), 30);
    state.unplug(2);
    state.plug(2);
    EXPECT_FALSE(state.isInStandby(2));
}

TEST(MacStateTest, gamma_tables_are_told_apart) {
    MacState state = threeDisplays();
    EXPECT_EQ(state.gammaKind(2), "normal");
    state.setGamma(2, filledWith(0), thisProcess());
    EXPECT_EQ(state.gammaKind(2), "zero");
    EXPECT_EQ(state.gammaKind(3), "normal");
    state.setGamma(2, filledWith(0.5F), thisProcess());
    EXPECT_EQ(state.gammaKind(2), "other");
    state.resetGamma();
    EXPECT_EQ(state.gammaKind(2), "normal");
}

TEST(MacStateTest, gamma_tables_fall_back_when_the_process_that_set_them_ends) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        const ProcessIdentity self = thisProcess();
        _exit(write(ends[1], &self, sizeof self) == sizeof self ? 0 : 1);
    }
    ProcessIdentity owner;
    ASSERT_EQ(read(ends[0], &owner, sizeof owner), static_cast<ssize_t>(sizeof owner));
    int status = 0;
    waitpid(child, &status, 0);
    close(ends[0]);
    close(ends[1]);
    MacState state = threeDisplays();
    state.setGamma(2, filledWith(0), owner);
    EXPECT_EQ(state.gammaKind(2), "normal");
}

TEST(MacStateTest, a_later_process_with_the_same_number_is_not_mistaken_for_the_owner) {
    MacState state = threeDisplays();
    ProcessIdentity earlier = thisProcess();
    --earlier.start;
    state.setGamma(2, filledWith(0), earlier);
    EXPECT_EQ(state.gammaKind(2), "normal");
}

TEST(MacStateTest, a_stored_state_reads_back_the_same) {
    const Scene scene = Scene::parse(three + "}", "scene");
    MacState state(scene);
    state.setEnabled(3, false, true);
    state.setMirrorMaster(2, 1, false);
    state.setGamma(2, filledWith(0.25F), thisProcess());
    const MacState copy(scene, state.toJson());
    EXPECT_EQ(copy.toJson(), state.toJson());
    EXPECT_EQ(copy.gamma(2), filledWith(0.25F));
}

TEST(MacStateTest, a_master_that_mirrors_another_display_itself_is_none) {
    MacState state = threeDisplays();
    state.setMirrorMaster(2, 1, false);
    state.setEnabled(1, false, false);
    state.setMirrorMaster(3, 2, false);
    EXPECT_EQ(state.mirrorMaster(3), 2u);
    state.setEnabled(1, true, false);
    EXPECT_EQ(state.mirrorMaster(2), 1u);
    EXPECT_EQ(state.mirrorMaster(3), 0u);
}

TEST(MacStateTest, mirrors_never_go_round_when_one_of_a_former_set_becomes_the_master) {
    MacState state = threeDisplays();
    state.setMirrorMaster(2, 1, false);
    state.setEnabled(1, false, false);
    state.setMirrorMaster(3, 2, false);
    state.setEnabled(1, true, false);
    state.setMirrorMaster(1, 3, false);
    EXPECT_EQ(state.mirrorMaster(1), 3u);
    EXPECT_EQ(state.mirrorMaster(2), 3u);
    EXPECT_EQ(state.mirrorMaster(3), 0u);
}

TEST(MacStateTest, mirrors_that_go_round_in_a_stored_state_are_none) {
    const Scene scene = Scene::parse(three + "}", "scene");
    nlohmann::json stored = MacState(scene).toJson();
    stored["2"]["session"]["mirrors"] = 2;
    stored["1"]["session"]["mirrors"] = 3;
    stored["3"]["session"]["mirrors"] = 1;
    const MacState state(scene, stored, "state.json");
    for (const uint32_t id : state.ids()) {
        EXPECT_EQ(state.mirrorMaster(id), 0u) << id;
    }
}

TEST(MacStateTest, every_mistake_in_a_stored_state_names_the_key) {
    const Scene scene = Scene::parse(three + "}", "scene");
    struct Row {
        const char* patch; ///< of the stored state of a Mac with a gamma table on display 2
        const char* error;
    };
    const std::vector<Row> rows = {
        {R"([ { "op": "add", "path": "/02", "value": {} } ])", "displays.02: no display ID"},
        {R"([ { "op": "add", "path": "/+2", "value": {} } ])", "displays.+2: no display ID"},
        {R"([ { "op": "add", "path": "/0", "value": {} } ])", "displays.0: no display ID"},
        {R"([ { "op": "add", "path": "/4294967298", "value": {} } ])",
         "displays.4294967298: no display ID"},
        {R"([ { "op": "replace", "path": "/2", "value": [] } ])", "displays.2: must be an object"},
        {R"([ { "op": "remove", "path": "/2/session" } ])", "displays.2: session is missing"},
        {R"([ { "op": "replace", "path": "/2/connected", "value": 1 } ])",
         "displays.2.connected: must be true or false"},
        {R"([ { "op": "replace", "path": "/2/session/mirrors", "value": 4294967297 } ])",
         "displays.2.session.mirrors: not within 0 and 4294967295"},
        {R"([ { "op": "replace", "path": "/2/permanent/mirrors", "value": 1.5 } ])",
         "displays.2.permanent.mirrors: must be a whole number"},
        {R"([ { "op": "replace", "path": "/2/brightness", "value": 101 } ])",
         "displays.2.brightness: not within 0 and 100"},
        {R"([ { "op": "replace", "path": "/2/droppedMessages", "value": -1 } ])",
         "displays.2.droppedMessages: not within 0 and 1000000000"},
        {R"([ { "op": "replace", "path": "/2/gamma/table", "value": [ [], [] ] } ])",
         "displays.2.gamma.table: must be 3 arrays"},
        {R"([ { "op": "remove", "path": "/2/gamma/table/1/0" } ])",
         "displays.2.gamma.table[1]: must be 256 numbers"},
        {R"([ { "op": "replace", "path": "/2/gamma/table/1/0", "value": null } ])",
         "displays.2.gamma.table[1][0]: must be a number"},
        {R"([ { "op": "replace", "path": "/2/gamma/table/1/0", "value": 1e39 } ])",
         "displays.2.gamma.table[1][0]: number out of range"},
        {R"([ { "op": "replace", "path": "/2/gamma/pid", "value": -1 } ])",
         "displays.2.gamma.pid: not within 0 and 2147483647"},
    };
    for (const auto& [patch, error] : rows) {
        MacState state(scene);
        state.setGamma(2, filledWith(0.25F), thisProcess());
        const auto stored = state.toJson().patch(nlohmann::json::parse(patch));
        EXPECT_EQ(errorOfStored(scene, stored), std::string("state.json: ") + error);
    }
    for (const auto& stored : nlohmann::json::parse(R"([ null, [], 1, "1", true ])")) {
        EXPECT_EQ(errorOfStored(scene, stored), "state.json: displays: must be an object");
    }
}

TEST(MacStateTest, a_table_with_what_is_no_number_can_be_stored) {
    const Scene scene = Scene::parse(three + "}", "scene");
    MacState state(scene);
    state.setGamma(2, filledWith(std::numeric_limits<float>::quiet_NaN()), thisProcess());
    state.setGamma(3, filledWith(std::numeric_limits<float>::infinity()), thisProcess());
    const auto text = state.toJson().dump();
    const MacState copy(scene, nlohmann::json::parse(text));
    EXPECT_EQ(copy.gamma(2), filledWith(0));
    EXPECT_EQ(copy.gamma(3), filledWith(0));
}

TEST(MacStateTest, a_scene_that_gained_or_lost_displays_keeps_the_others_state) {
    MacState state = threeDisplays();
    state.setEnabled(2, false, true);
    const MacState later(
        Scene::parse(R"({ "displays": [ { "id": 2 }, { "id": 1 }, { "id": 9 } ] })", "scene"),
        state.toJson());
    EXPECT_EQ(later.online(), (IDs{1, 9}));
    EXPECT_FALSE(later.isKnown(3));
}

} // namespace
} // namespace simulated_mac
