#include "SimulatedMac/World/Scene.h"

#include <gtest/gtest.h>

namespace simulated_mac {
namespace {

std::string parseError(const std::string& text) {
    try {
        (void)Scene::parse(text, "desk.json");
    } catch (const SceneError& error) {
        return error.what();
    }
    return "no error";
}

TEST(SceneTest, every_mistake_is_one_line_that_names_the_file_and_the_key) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "desk.json: not valid JSON at byte 1"},
        {"[]", "desk.json: must be an object"},
        {R"({ "colour": 1 })", "desk.json: colour: unknown key"},
        {R"({ "displays": {} })", "desk.json: displays: must be an array"},
        {R"({ "displays": [ 1 ] })", "desk.json: displays[0]: must be an object"},
        {R"({ "displays": [ {} ] })", "desk.json: displays[0]: id is missing"},
        {R"({ "displays": [ { "id": 0 } ] })", "desk.json: displays[0].id: 0 is no display"},
        {R"({ "displays": [ { "id": "2" } ] })",
         "desk.json: displays[0].id: must be a whole number"},
        {R"({ "displays": [ { "id": 2.5 } ] })",
         "desk.json: displays[0].id: must be a whole number"},
        {R"({ "displays": [ { "id": -1 } ] })",
         "desk.json: displays[0].id: not within 0 and 4294967295"},
        {R"({ "displays": [ { "id": 4294967296 } ] })",
         "desk.json: displays[0].id: not within 0 and 4294967295"},
        {R"({ "displays": [ { "id": 18446744073709551615 } ] })",
         "desk.json: displays[0].id: not within 0 and 4294967295"},
        {R"({ "displays": [ { "id": 99999999999999999999 } ] })",
         "desk.json: displays[0].id: not within 0 and 4294967295"},
        {R"({ "displays": [ { "id": -0 } ] })", "desk.json: displays[0].id: 0 is no display"},
        {R"({ "displays": [ { "id": -0.0 } ] })",
         "desk.json: displays[0].id: must be a whole number"},
        {R"({ "displays": [ { "id": 2e0 } ] })",
         "desk.json: displays[0].id: must be a whole number"},
        {R"({ "displays": [ { "id": 2 }, { "i\u0064": 2 } ] })",
         "desk.json: displays[1].id: another display has the ID 2"},
        {R"({ "displays": [ { "id": 2, "a\nb\u001b[31m": 1 } ] })",
         "desk.json: displays[0].a\\nb\\u001b[31m: unknown key"},
        {R"({ "displays": [ { "id": 2, "colour": 1 } ] })",
         "desk.json: displays[0].colour: unknown key"},
        {R"({ "displays": [ { "id": 2, "main": 1 } ] })",
         "desk.json: displays[0].main: must be true or false"},
        {R"({ "displays": [ { "id": 2, "screenName": 1 } ] })",
         "desk.json: displays[0].screenName: must be a text"},
        {R"({ "displays": [ { "id": 2, "ddc": { "brightness": 101 } } ] })",
         "desk.json: displays[0].ddc.brightness: not within 0 and 100"},
        {R"({ "displays": [ { "id": 2, "ddc": { "speed": 1 } } ] })",
         "desk.json: displays[0].ddc.speed: unknown key"},
        {R"({ "displays": [ { "id": 2 }, { "id": 2 } ] })",
         "desk.json: displays[1].id: another display has the ID 2"},
        {R"({ "displays": [ { "id": 1, "main": true }, { "id": 2, "main": true } ] })",
         "desk.json: displays[1].main: another display is the main one"},
        {R"({ "displays": [ { "id": 1, "main": true, "enabled": false } ] })",
         "desk.json: displays[0].main: the main display must be connected, enabled and no mirror"},
        {R"({ "displays": [ { "id": 1, "main": true, "connected": false } ] })",
         "desk.json: displays[0].main: the main display must be connected, enabled and no mirror"},
        {R"({ "displays": [ { "id": 1, "mirrors": 9 } ] })",
         "desk.json: displays[0].mirrors: must be another display that mirrors none itself"},
        {R"({ "displays": [ { "id": 1, "mirrors": 1 } ] })",
         "desk.json: displays[0].mirrors: must be another display that mirrors none itself"},
        {R"({ "displays": [ { "id": 1, "mirrors": 2 }, { "id": 2, "mirrors": 1 } ] })",
         "desk.json: displays[0].mirrors: must be another display that mirrors none itself"},
        {R"({ "mirroring": "both" })",
         "desk.json: mirroring: must be \"software\" or \"hardware\""},
        {R"({ "skylight": "yes" })", "desk.json: skylight: must be an array"},
        {R"({ "skylight": [ "SLSOther" ] })",
         "desk.json: skylight[0]: must be SLSConfigureDisplayEnabled or SLSGetDisplayList"},
        {R"({ "notes": "a Mac" })", "desk.json: notes: must be an array"},
        {R"({ "notes": [ 1 ] })", "desk.json: notes[0]: must be a text"},
        {R"({ "macOS": 14 })", "desk.json: macOS: must be a text"},
        {R"({ "processor": "powerpc" })", "desk.json: processor: must be \"arm64\" or \"x86_64\""},
        {R"({ "onlineOrder": "any" })",
         "desk.json: onlineOrder: must be \"scene\" or \"main-first\""},
        {R"({ "registry": [ { "class": "X", "children": [ { "class": "Y", "display": 9 } ] } ] })",
         "desk.json: registry[0].children[0].display: no display 9"},
        {R"({ "registry": [ {} ] })", "desk.json: registry[0]: class is missing"},
        {R"({ "registry": [ { "class": "X", "properties": { "P": null } } ] })",
         "desk.json: registry[0].properties.P: must be a number, a text, true, false, an array or "
         "an object"},
        {R"({ "registry": [ { "class": "X", "properties": { "P": { "Q": [ 1, null ] } } } ] })",
         "desk.json: registry[0].properties.P.Q[1]: must be a number, a text, true, false, an "
         "array "
         "or an object"},
        {R"({ "registry": [ { "class": "X", "properties": { "P": [ { "data": 1 } ] } } ] })",
         "desk.json: registry[0].properties.P[0].data: must be a text"},
        {R"({ "registry": [ { "class": "X", "properties": { "P": { "data": "0G" } } } ] })",
         "desk.json: registry[0].properties.P.data: must be pairs of hexadecimal digits"},
        {R"({ "registry": [ { "class": "X", "children": [ { "class": "Y", "i2cBuses": -1 } ] } ] })",
         "desk.json: registry[0].children[0].i2cBuses: not within 0 and 256"},
        {R"({ "defaults": [] })", "desk.json: defaults: must be an object"},
        {R"({ "defaults": { "a": null } })",
         "desk.json: defaults.a: must be a number, a text, true, false, an array or an object"},
        {R"({ "defaults": { "a": { "b": [ 1, null ] } } })",
         "desk.json: defaults.a.b[1]: must be a number, a text, true, false, an array or an "
         "object"},
        {R"({ "defaults": { "a": 18446744073709551615 } })",
         "desk.json: defaults.a: not within -9223372036854775808 and 9223372036854775807"},
        {R"({ "hardware": "powerpc" })",
         "desk.json: hardware: must be \"intel\" or \"apple-silicon\""},
        {R"({ "profiler": { "delay": -1 } })",
         "desk.json: profiler.delay: must be within 0 and 3600 seconds"},
        {R"({ "profiler": { "delay": "long" } })", "desk.json: profiler.delay: must be a number"},
        {R"({ "profiler": { "exit": 256 } })", "desk.json: profiler.exit: not within 0 and 255"},
        {R"({ "profiler": { "signal": 0 } })", "desk.json: profiler.signal: not within 1 and 31"},
        {R"({ "profiler": { "signal": 9, "exit": 1 } })",
         "desk.json: profiler.signal: a process ends either by exit or by a signal"},
        {R"({ "profiler": { "stderr": 1 } })", "desk.json: profiler.stderr: must be a text"},
        {R"({ "profiler": { "keepOpen": 1 } })",
         "desk.json: profiler.keepOpen: must be true or false"},
        {R"({ "profiler": { "slow": true } })", "desk.json: profiler.slow: unknown key"},
        {R"({ "faults": [ { "returns": 1 } ] })", "desk.json: faults[0]: call is missing"},
        {R"({ "faults": [ { "call": "*" } ] })",
         "desk.json: faults[0]: needs either returns or \"null\": true"},
        {R"({ "faults": [ { "call": "*", "returns": 1, "null": true } ] })",
         "desk.json: faults[0]: needs either returns or \"null\": true"},
        {R"({ "displays": [ { "id": 1, "gammaCapacity": 1 } ] })",
         "desk.json: displays[0].gammaCapacity: not within 2 and 65536"},
        {R"({ "displays": [ { "id": 1, "gammaReading": "all" } ] })",
         "desk.json: displays[0].gammaReading: must be \"resample\" or \"truncate\""},
        {R"({ "unknownDisplayAnswers": 2147483648 })",
         "desk.json: unknownDisplayAnswers: not within -2147483648 and 2147483647"},
        {R"({ "unknownDisplayAnswers": "no" })",
         "desk.json: unknownDisplayAnswers: must be a number or an object"},
        {R"({ "unknownDisplayAnswers": [ 0, 0, 0, 0, 0 ] })",
         "desk.json: unknownDisplayAnswers: must be a number or an object"},
        {R"({ "unknownDisplayAnswers": -1.5 })",
         "desk.json: unknownDisplayAnswers: must be a whole number"},
        {R"({ "unknownDisplayAnswers": { "CGDisplayIsPink": 0 } })",
         "desk.json: unknownDisplayAnswers.CGDisplayIsPink: unknown key"},
        {R"({ "unknownDisplayAnswers": { "CGDisplayIsMain": true } })",
         "desk.json: unknownDisplayAnswers.CGDisplayIsMain: must be a whole number"},
        {R"({ "unknownDisplayAnswers": { "CGDisplayIsMain": -2147483649 } })",
         "desk.json: unknownDisplayAnswers.CGDisplayIsMain: not within -2147483648 and 2147483647"},
        {R"({ "displays": [ { "id": 2, "ddc": { "minGapCalls": -1 } } ] })",
         "desk.json: displays[0].ddc.minGapCalls: not within 0 and 4294967295"},
        {R"({ "displays": [ { "id": 2, "ddc": { "deafInStandby": 1 } } ] })",
         "desk.json: displays[0].ddc.deafInStandby: must be true or false"},
        {R"({ "faults": [ { "call": "CGDisplayIsPink", "returns": 1 } ] })",
         "desk.json: faults[0].call: the simulated Mac has no such call"},
        {R"({ "faults": [ { "call": "CGCompleteDisplayConfiguration", "returns": 4294967296 } ] })",
         "desk.json: faults[0].returns: does not fit CGCompleteDisplayConfiguration, whose result "
         "is "
         "a status"},
        {R"({ "faults": [ { "call": "dlopen", "returns": 1 } ] })",
         "desk.json: faults[0].returns: does not fit dlopen, whose result is an object"},
        {R"({ "faults": [ { "call": "CGDisplayVendorNumber", "returns": -1 } ] })",
         "desk.json: faults[0].returns: does not fit CGDisplayVendorNumber, whose result is an "
         "unsigned word"},
        {R"({ "faults": [ { "call": "CFNumberGetValue", "returns": 256 } ] })",
         "desk.json: faults[0].returns: does not fit CFNumberGetValue, whose result is a Boolean"},
        {R"({ "faults": [ { "call": "NSBeep", "null": true } ] })",
         "desk.json: faults[0].null: does not fit NSBeep, which has no result"},
        {R"({ "faults": [ { "call": "CGDisplayIsMain", "list": "short" } ] })",
         "desk.json: faults[0].list: is no fault of CGDisplayIsMain"},
        {R"({ "faults": [ { "call": "CGGetOnlineDisplayList", "list": "long" } ] })",
         "desk.json: faults[0].list: must be short, duplicated, zero or too-large"},
        {R"({ "faults": [ { "call": "CGGetOnlineDisplayList", "list": "zero", "returns": 1 } ] })",
         "desk.json: faults[0]: returns, null, list, result and samples exclude each other"},
        {R"({ "faults": [ { "call": "*", "list": "short" } ] })",
         "desk.json: faults[0].list: needs the name of a call"},
        {R"({ "faults": [ { "call": "IOI2CInterfaceOpen", "result": 1 } ] })",
         "desk.json: faults[0].result: is no fault of IOI2CInterfaceOpen"},
        {R"({ "faults": [ { "call": "CGSetDisplayTransferByTable", "samples": 1 } ] })",
         "desk.json: faults[0].samples: is no fault of CGSetDisplayTransferByTable"},
        {R"({ "faults": [ { "call": "dlclose", "returns": 1, "errno": 4 } ] })",
         "desk.json: faults[0].errno: is no fault of dlclose"},
        {R"({ "faults": [ { "call": "dlclose", "returns": 1, "effect": true } ] })",
         "desk.json: faults[0].effect: is no fault of dlclose"},
        {R"({ "faults": [ { "call": "IOI2CSendRequest", "null": true, "effect": true } ] })",
         "desk.json: faults[0].effect: needs returns or result"},
        {R"({ "faults": [ { "call": "*", "nth": -1, "returns": 1 } ] })",
         "desk.json: faults[0].nth: not within 0 and 2147483647"},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(parseError(text), error);
    }
}

TEST(SceneTest, there_are_at_most_64_displays) {
    std::string displays;
    for (int id = 1; id <= 64; ++id) {
        displays += (id == 1 ? "" : ",") + (R"({ "id": )" + std::to_string(id) + "}");
    }
    EXPECT_EQ(parseError(R"({ "displays": [)" + displays + "] }"), "no error");
    EXPECT_EQ(parseError(R"({ "displays": [)" + displays + R"(, { "id": 65 } ] })"),
              "desk.json: displays: more than 64");
}

TEST(SceneTest, the_registry_has_at_most_4096_nodes) {
    std::string nodes = R"({ "class": "X" })";
    for (int count = 3; count <= 4096; ++count) {
        nodes += R"(, { "class": "X" })";
    }
    const std::string one = R"({ "registry": [ { "class": "X", "children": [)";
    EXPECT_EQ(parseError(one + nodes + "] } ] }"), "no error");
    EXPECT_EQ(parseError(one + nodes + R"(] }, { "class": "X" } ] })"),
              "desk.json: registry: more than 4096 nodes");
}

TEST(SceneTest, every_key_may_be_left_out_but_a_displays_id) {
    const Scene scene = Scene::parse(R"({ "displays": [ { "id": 7 } ] })", "scene");
    ASSERT_EQ(scene.displays.size(), 1u);
    EXPECT_TRUE(scene.displays[0].connected);
    EXPECT_TRUE(scene.displays[0].enabled);
    EXPECT_TRUE(scene.displays[0].gamma);
    EXPECT_FALSE(scene.displays[0].ddc);
    EXPECT_TRUE(scene.skyLight);
    EXPECT_FALSE(scene.softwareMirroring);
    EXPECT_TRUE(Scene::parse("{}", "scene").displays.empty());
}

TEST(SceneTest, skylight_can_be_missing_or_export_a_part) {
    EXPECT_FALSE(Scene::parse(R"({ "skylight": false })", "scene").skyLight);
    EXPECT_EQ(Scene::parse(R"({ "skylight": ["SLSGetDisplayList"] })", "scene").skyLight,
              std::vector<std::string>{"SLSGetDisplayList"});
}

TEST(SceneTest, displays_imply_the_registry) {
    const Scene scene = Scene::parse(
        R"({ "displays": [ { "id": 1 }, { "id": 2, "vendor": 5, "model": 6, "ddc": {},
             "registryName": "Studio" } ] })",
        "scene");
    ASSERT_EQ(scene.registry.size(), 2u);
    EXPECT_EQ(scene.registry[0].i2cBuses, 0);
    EXPECT_EQ(scene.registry[1].i2cBuses, 1);
    EXPECT_EQ(scene.registry[1].busDisplay, 2u);
    EXPECT_EQ(scene.registry[1].children.at(1).properties["DisplayVendorID"], 5);
}

TEST(SceneTest, the_desk_has_a_built_in_main_display_and_one_monitor_with_ddc) {
    const Scene desk = Scene::desk();
    ASSERT_EQ(desk.displays.size(), 3u);
    EXPECT_TRUE(desk.displays[0].builtin && desk.displays[0].main && !desk.displays[0].ddc);
    EXPECT_TRUE(desk.displays[1].ddc);
    EXPECT_FALSE(desk.displays[2].ddc);
}

} // namespace
} // namespace simulated_mac
