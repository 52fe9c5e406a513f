#include "Safety/Situations.h"

#include "Support/SceneFiles.h"
#include "Support/Scenes.h"

#include <algorithm>

namespace safety {
namespace {

constexpr std::string_view quick = R"("profiler": { "missing": true })";
constexpr std::string_view intel = R"("hardware": "intel")";
constexpr std::string_view appleSilicon = R"("hardware": "apple-silicon")";

// Monitors that vendor and model tell apart.
constexpr std::string_view panel =
    R"({ "id": 1, "main": true, "builtin": true, "vendor": 1552, "model": 41, "pixels": [1512, 982] })";
constexpr std::string_view large =
    R"({ "id": 2, "vendor": 4268, "model": 16, "pixels": [3840, 2160],
         "ddc": { "brightness": 40 }, "servicePort": true })";
constexpr std::string_view small =
    R"({ "id": 3, "vendor": 7789, "model": 23, "pixels": [1280, 1024], "ddc": { "brightness": 70 } })";
constexpr std::string_view projector = R"({ "id": 4, "vendor": 25001, "model": 9 })";
// The lists tell of a change a little later.
constexpr std::string_view slowLists = R"("settleCalls": 2)";
constexpr std::string_view plainLarge =
    R"({ "id": 2, "vendor": 4268, "model": 16, "ddc": { "brightness": 40 } })";
constexpr std::string_view makersInRegistry = R"(
    { "class": "IOFramebuffer", "children": [ { "class": "IODisplayConnect" } ] },
    { "class": "IOFramebuffer", "i2cBuses": 1, "children": [ { "class": "IODisplayConnect",
      "properties": { "DisplayVendorID": 4268, "DisplayProductID": 16 } } ] },
    { "class": "IOFramebuffer", "i2cBuses": 1, "children": [ { "class": "IODisplayConnect",
      "properties": { "DisplayVendorID": 7789, "DisplayProductID": 23 } } ] })";
constexpr std::string_view wrongTypesInRegistry = R"(
    { "class": "IOFramebuffer", "i2cBuses": 1, "children": [ { "class": "IODisplayConnect",
      "properties": { "DisplayVendorID": "4268", "DisplayProductID": true, "DisplayID": [ 2 ] } } ] },
    { "class": "IOFramebuffer", "i2cBuses": 1, "children": [ { "class": "IODisplayConnect",
      "properties": { "DisplayVendorID": 7789, "DisplayProductID": {} } } ] })";
// The monitors' numbers are where nobody looks for them.
constexpr std::string_view nothingNamedInRegistry = R"(
    { "class": "IOFramebuffer", "i2cBuses": 1,
      "properties": { "DisplayVendorID": 4268, "DisplayProductID": 16 } },
    { "class": "IOFramebuffer", "i2cBuses": 1,
      "properties": { "DisplayVendorID": 7789, "DisplayProductID": 23 } })";
constexpr std::string_view oneBusInRegistry = R"(
    { "class": "IOFramebuffer" }, { "class": "IOFramebuffer", "i2cBuses": 2 })";
constexpr std::string_view unreadable2 = R"({ "id": 2, "gamma": false })";

Situation situation(const char* name, std::initializer_list<std::string_view> displays,
                    std::initializer_list<std::string_view> more = {}) {
    std::string members(quick);
    for (const std::string_view member : more) {
        members += ", " + std::string(member);
    }
    return {name, simulated_mac::Scene::parse(scene(displays, {members}), name), {1, 2, 3, 4}};
}

Situation situationWithProfiler(const char* name, std::initializer_list<std::string_view> displays,
                                const char* manners) {
    const std::string profiler = R"("profiler": {)" + std::string(manners) + "}";
    return {name, simulated_mac::Scene::parse(scene(displays, {profiler}), name), {1, 2, 3, 4}};
}

std::array<std::uint32_t, 4> displaysOf(const simulated_mac::Scene& scene) {
    auto displays = scene.displays;
    std::ranges::stable_partition(displays, &simulated_mac::SceneDisplay::main);
    std::array<std::uint32_t, 4> ids = {};
    std::uint32_t unused = 0;
    for (std::size_t place = 0; place < ids.size(); ++place) {
        if (place < displays.size()) {
            ids[place] = displays[place].id;
            continue;
        }
        do {
            ++unused;
        } while (std::ranges::find(displays, unused, &simulated_mac::SceneDisplay::id) !=
                 displays.end());
        ids[place] = unused;
    }
    return ids;
}

// Starting the profiler for each of thousands of runs would take most of their time.
Situation situationFrom(const SceneFile& file) {
    auto scene = simulated_mac::Scene::parse(file.text, file.name);
    scene.profilerMissing = true;
    const auto displays = displaysOf(scene);
    return {file.name, std::move(scene), displays};
}

std::vector<Situation> written() {
    return {
        situation("only the main display", {main1}),
        situation("two displays", {main1, plain2}),
        situation("two displays with DDC", {main1, ddc2}),
        situation("two displays, no SkyLight, DDC", {main1, ddc2}, {noSkyLight}),
        situation("two displays, no SkyLight, no DDC", {main1, plain2}, {noSkyLight}),
        situation("two displays, no SkyLight, unreadable tables", {main1, unreadable2},
                  {noSkyLight}),
        situation("two displays, SkyLight only lists", {main1, ddc2}, {onlySkyLightsList}),
        situation("two displays, SkyLight only switches", {main1, ddc2}, {onlySkyLightsSwitch}),
        situation("a monitor that is mute", {main1, mute2}, {noSkyLight}),
        situation("a monitor whose bus is locked", {main1, locked2}, {noSkyLight}),
        situation("three displays of an Intel Mac", {panel, large, small}, {intel, noSkyLight}),
        situation("three displays, told by their makers alone", {panel, plainLarge, small},
                  {noSkyLight, registry(makersInRegistry)}),
        situation("three displays on Apple silicon", {panel, large, small}, {appleSilicon}),
        situation("four displays", {panel, large, small, projector}),
        situation("four displays, no SkyLight, software mirroring",
                  {main1, ddc2, plain3, projector}, {noSkyLight, softwareMirroring}),
        situation("a mirrored display", {main1, mirror2, plain3}),
        situation("a mirrored display, software mirroring", {main1, mirror2, plain3},
                  {softwareMirroring}),
        situation("a remembered display that is off", {main1, disabled2, plain3},
                  {remembered("[2]")}),
        situation("a remembered display that is on again", {main1, ddc2}, {remembered("[2, 7]")}),
        situation("a display that somebody else disconnected", {main1, disabled2, plain3},
                  {remembered("[9]")}),
        situation("a remembered display, SkyLight only lists", {main1, disabled2},
                  {remembered("[2]"), onlySkyLightsList}),
        situation("three displays, slow lists", {main1, ddc2, plain3}, {slowLists}),
        situation("three displays, properties of wrong types", {panel, plainLarge, small},
                  {noSkyLight, registry(wrongTypesInRegistry)}),
        situation("three displays, two buses that nobody can tell apart",
                  {panel, plainLarge, small}, {noSkyLight, registry(nothingNamedInRegistry)}),
        situation("two displays, one framebuffer with buses", {main1, ddc2},
                  {noSkyLight, registry(oneBusInRegistry)}),
        situationWithProfiler("two displays that the profiler names", {builtIn1, ddcStudio2}, ""),
        situationWithProfiler("a profiler that breaks off and fails", {main1, ddc2},
                              R"("output": "{\"SPDisplaysDataType\": [", "exit": 3)"),
        situationWithProfiler("a profiler that is killed and talks nonsense", {main1, ddc2},
                              R"("output": "\u0000[[\"nonsense\"", "signal": 9)"),
    };
}

std::vector<Situation> all() {
    std::vector<Situation> situations = written();
    std::ranges::transform(sceneFiles(), std::back_inserter(situations), situationFrom);
    return situations;
}

} // namespace

const std::vector<Situation>& situations() {
    static const std::vector<Situation> situations = all();
    return situations;
}

} // namespace safety
