#include "MacProbe/SceneRecording.h"

#include "Safety/Situations.h"
#include "SimulatedMac/World/MacState.h"
#include "Support/SceneFiles.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <algorithm>
#include <set>

namespace {

using nlohmann::json;
using simulated_mac::Mac;
using simulated_mac::MacState;
using simulated_mac::RegistryNode;
using simulated_mac::Scene;
using simulated_mac::SceneDisplay;

// What looking cannot tell, and what is not told on purpose, is left out of both sides below:
//
// - displays that are unplugged, or off where SkyLight does not list those that are off
// - whether and how a monitor obeys DDC/CI, and its brightness
// - of a display that is off: its size, its tables and its names
// - the name in the screen list of a display that mirrors another; all names in the profiler where
// it
//   cannot be started
// - how displays are mirrored while none is
// - how the Mac behaves when something changes, user defaults, faults, events and the profiler's
//   manners
// - serial numbers, dates and identifiers in the registry; nodes above and beside the displays'
// own;
//   which connector a display is on where CoreGraphics knows no port
const std::set<std::string> untoldProperties = {
    "DisplaySerialNumber", "IODisplayEDID", "IODisplayPrefsKey", "IODisplayAttributes",
    "EDID UUID",           "IOMFBUUID",     "SerialNumber",      "AlphanumericSerialNumber",
    "WeekOfManufacture"};

std::string recordedOn(const Scene& scene) {
    Mac::boot(scene);
    return macprobe::recordScene().value_or("");
}

bool isListed(const Scene& scene, const MacState& state, const SceneDisplay& display) {
    const bool hasList =
        scene.skyLight &&
        std::ranges::find(*scene.skyLight, "SLSGetDisplayList") != scene.skyLight->end();
    return hasList ? state.isKnown(display.id) : state.isOnline(display.id);
}

json tellablePicture(const Scene& scene, const SceneDisplay& display) {
    return {{"size", {display.pixels.width, display.pixels.height}},
            {"gamma", display.gamma},
            {"capacity", display.gamma ? display.gammaCapacity : 0},
            {"reading", display.gamma ? int(display.gammaReading.value_or(scene.gammaReading)) : 0},
            {"profiled", scene.profilerMissing ? "" : display.profilerName.value_or("")}};
}

json tellable(const Scene& scene, const MacState& state, const SceneDisplay& display) {
    json told = state.toJson()[std::to_string(display.id)];
    told.erase("brightness");
    told.update({{"id", display.id},
                 {"vendor", display.vendor},
                 {"model", display.model},
                 {"builtin", display.builtin}});
    if (state.isOnline(display.id)) {
        told["picture"] = tellablePicture(scene, display);
    }
    if (state.isOnline(display.id) && state.mirrorMaster(display.id) == 0) {
        told["screen"] = display.screenName.value_or("");
    }
    return told;
}

json tellableProperties(const json& properties) {
    json told = properties;
    if (told.is_object()) {
        std::erase_if(told.get_ref<json::object_t&>(),
                      [](const auto& member) { return untoldProperties.contains(member.first); });
    }
    if (told.is_structured()) {
        std::ranges::transform(told, told.begin(), tellableProperties);
    }
    return told;
}

json tellable(const RegistryNode& node) {
    json children = json::array();
    for (const RegistryNode& child : node.children) {
        children.push_back(tellable(child));
    }
    return {{"class", node.className},
            {"properties", tellableProperties(node.properties)},
            {"buses", node.i2cBuses},
            {"children", children}};
}

/// Pipes of Apple silicon lie one level below what drives them.
json tellableBranches(const std::vector<RegistryNode>& nodes) {
    json branches = json::array();
    for (const RegistryNode& node : nodes) {
        branches.push_back(
            tellable(node.className == "AppleARMIODevice" ? node.children.front() : node));
    }
    return branches;
}

/// What is not given is 0.
json answersAboutUnknown(const Scene& scene) {
    json answers = json::object();
    for (const auto& [question, answer] : scene.unknownDisplayAnswers) {
        if (answer != 0) {
            answers[question] = answer;
        }
    }
    return answers;
}

json tellable(const Scene& scene) {
    const MacState state(scene);
    json displays = json::array();
    bool hasMirror = false;
    for (const SceneDisplay& display : scene.displays) {
        if (isListed(scene, state, display)) {
            displays.push_back(tellable(scene, state, display));
            hasMirror = hasMirror || state.mirrorMaster(display.id) != 0;
        }
    }
    return {{"displays", displays},
            {"online", state.online()},
            {"active", state.active()},
            {"screens", state.screens()},
            {"main", state.main().value_or(0)},
            {"skylight", scene.skyLight.value_or(std::vector<std::string>())},
            {"software", hasMirror && scene.softwareMirroring},
            {"unknown", answersAboutUnknown(scene)},
            {"macOS", scene.macOS.value_or("")},
            {"processor", scene.processor.value_or("")},
            {"registry", tellableBranches(scene.registry)}};
}

/// What CoreGraphics knows of connectors, which no property says.
json portsOf(const Scene& scene) {
    json ports = json::object();
    for (const SceneDisplay& display : scene.displays) {
        ports[std::to_string(display.id)] = display.servicePort;
    }
    return ports;
}

/// The first four displays are what operations are about, the main one foremost.
void expectAllDisplaysAmong(const safety::Situation& situation) {
    const auto& displays = situation.scene.displays;
    ASSERT_FALSE(displays.empty()) << situation.name;
    for (std::size_t place = 0; place < situation.displays.size(); ++place) {
        const auto display =
            std::ranges::find(displays, situation.displays[place], &SceneDisplay::id);
        EXPECT_EQ(display != displays.end(), place < displays.size()) << situation.name;
        EXPECT_EQ(display != displays.end() && display->main, place == 0) << situation.name;
    }
}

class SceneRecording : public SimulatedMacTest {
protected:
    static void expectItself(const Scene& scene) {
        const std::string text = recordedOn(scene);
        ASSERT_NE(text, "");
        const Scene again = Scene::parse(text, "recorded");
        EXPECT_EQ(tellable(again).dump(1), tellable(scene).dump(1));
        EXPECT_EQ(recordedOn(again), text);
    }
};

TEST_F(SceneRecording, the_built_in_scene_is_that_scene_again) {
    expectItself(Scene::desk());
}

TEST_F(SceneRecording, every_scene_of_the_tests_is_that_scene_again) {
    for (const safety::Situation& situation : safety::situations()) {
        SCOPED_TRACE(situation.name);
        expectItself(situation.scene);
    }
}

TEST_F(SceneRecording, every_scene_of_the_folder_is_that_scene_again_with_its_names) {
    const auto files = sceneFiles();
    ASSERT_GE(files.size(), 7U);
    for (const SceneFile& file : files) {
        SCOPED_TRACE(file.name);
        expectItself(Scene::parse(file.text, file.name));
    }
}

TEST_F(SceneRecording, every_scene_of_the_folder_goes_through_all_that_can_go_wrong) {
    for (const SceneFile& file : sceneFiles()) {
        const auto& situations = safety::situations();
        const auto found = std::ranges::find(situations, file.name, &safety::Situation::name);
        ASSERT_NE(found, situations.end()) << file.name;
        EXPECT_EQ(found->scene.text, file.text);
        expectAllDisplaysAmong(*found);
    }
}

// In files, apart from the words that tell what they are for.
TEST_F(SceneRecording, the_scenes_that_say_so_are_in_the_form_in_which_scenes_are_written) {
    const auto withoutNotes = [](const std::string& text) {
        auto members = nlohmann::ordered_json::parse(text);
        members.erase("notes");
        return members.dump(1);
    };
    std::set<std::size_t> numbersOfDisplays;
    for (const SceneFile& file : sceneFiles()) {
        if (file.text.contains("in the form in which macprobe writes a Mac.")) {
            const Scene scene = Scene::parse(file.text, file.name);
            EXPECT_EQ(withoutNotes(recordedOn(scene)), withoutNotes(file.text)) << file.name;
            numbersOfDisplays.insert(scene.displays.size());
        }
    }
    EXPECT_EQ(numbersOfDisplays, (std::set<std::size_t>{1, 3}));
}

TEST_F(SceneRecording, questions_that_answer_differently_about_an_unknown_display_are_all_written) {
    const Scene given =
        Scene::parse(scene({main1}, {R"("unknownDisplayAnswers": { "CGDisplayIsOnline": -1,
            "CGDisplayIsInMirrorSet": -1, "CGDisplayIsMain": 2147483647, "CGDisplayIsActive": 0 })"}),
                     "questions");
    expectItself(given);
    EXPECT_EQ(json::parse(recordedOn(given)).at("unknownDisplayAnswers"),
              (json{{"CGDisplayIsActive", 0},
                    {"CGDisplayIsOnline", -1},
                    {"CGDisplayIsMain", 2147483647},
                    {"CGDisplayIsBuiltin", 0},
                    {"CGDisplayIsInMirrorSet", -1}}));
}

TEST_F(SceneRecording, of_two_monitors_of_one_kind_each_keeps_its_connector) {
    const std::string twins = scene({R"({ "id": 4001, "main": true, "vendor": 7, "model": 8 })",
                                     R"({ "id": 4002, "vendor": 7, "model": 8, "ddc": true })"},
                                    {R"("hardware": "intel")"});
    const Scene again = Scene::parse(recordedOn(Scene::parse(twins, "twins")), "recorded");
    ASSERT_GE(again.registry.size(), 2U);
    EXPECT_EQ(again.registry[0].busDisplay, 4001U);
    EXPECT_EQ(again.registry[1].busDisplay, 4002U);
    EXPECT_EQ(portsOf(again), (json{{"4001", true}, {"4002", true}}));
}

TEST_F(SceneRecording, nothing_that_names_one_single_device_is_written) {
    for (const char* const hardware : {"intel", "apple-silicon"}) {
        const Scene given = Scene::parse(
            scene({R"({ "id": 1, "main": true, "builtin": true, "vendor": 1552, "model": 9 })",
                   R"({ "id": 2, "vendor": 7789, "model": 5 })"},
                  {R"("hardware": ")" + std::string(hardware) + '"'}),
            hardware);
        const std::string text = recordedOn(given);
        for (const std::string& property : untoldProperties) {
            EXPECT_EQ(text.find('"' + property + '"'), std::string::npos) << property;
        }
        EXPECT_EQ(text.find("SN00"), std::string::npos);
        EXPECT_EQ(text.find("00ffffffffffff"), std::string::npos);
        EXPECT_EQ(text.find("16843009"), std::string::npos);
    }
}

TEST_F(SceneRecording, what_it_holds_is_told_before_everything_else) {
    const std::string text = recordedOn(Scene::desk());
    EXPECT_TRUE(text.starts_with("{\n  \"notes\": [\n    \"A Mac's displays, as macprobe"));
    EXPECT_TRUE(
        json::parse(text).at("notes").dump().contains("displays' names, which may hold one"));
}

TEST_F(SceneRecording, names_with_quotes_controls_and_other_scripts_come_through) {
    const std::string name = R"("A \"b\" \\ \u0007 \u007f 显示器 \u0000 end")";
    const Scene given =
        Scene::parse(scene({R"({ "id": 1, "main": true, "screenName": )" + name + " }"}), "names");
    const Scene again = Scene::parse(recordedOn(given), "recorded");
    EXPECT_EQ(again.displays.front().screenName->substr(0, 8), std::string("A \"b\" \\ "));
}

TEST_F(SceneRecording, it_changes_nothing) {
    Mac& mac = boot();
    const std::string before = mac.state().toJson().dump();
    ASSERT_TRUE(macprobe::recordScene());
    EXPECT_EQ(mac.state().toJson().dump(), before);
    for (const simulated_mac::LoggedCall& call : mac.calls()) {
        for (const char* const changing :
             {"CGBegin", "CGConfigure", "CGSet", "CGDisplayRestore", "CGRestore", "SLSConfigure",
              "IOI2C", "NSUserDefaults"}) {
            EXPECT_FALSE(call.call.starts_with(changing)) << call.call;
        }
    }
}

TEST_F(SceneRecording, without_a_display_to_look_at_it_says_why) {
    for (const char* const more : {R"("session": false)", R"("displays": [])"}) {
        const std::string nobody =
            std::string("{ ") + more +
            (std::string(more).contains("session") ? R"(, "displays": [ { "id": 1 } ] })" : " }");
        boot(nobody);
        const auto recorded = macprobe::recordScene();
        ASSERT_FALSE(recorded);
        EXPECT_TRUE(recorded.error().contains("not over ssh"));
    }
}

} // namespace
