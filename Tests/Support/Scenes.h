#pragma once

// Scene files' texts, put together from displays and from what else is special about the Mac:
//
//     scene({main1, ddc2}, {noSkyLight, faults({fails("CGDisplayIsMain").every().with(0)})})

#include "Support/Faults.h"

#include <initializer_list>
#include <string>
#include <string_view>

/// A Mac with these displays and further members, each a piece of JSON such as those below.
std::string scene(std::initializer_list<std::string_view> displays,
                  std::initializer_list<std::string_view> more = {});

// Displays, by what matters of them and by ID.
inline constexpr std::string_view main1 = R"({ "id": 1, "main": true })";
inline constexpr std::string_view plain2 = R"({ "id": 2 })";
inline constexpr std::string_view plain3 = R"({ "id": 3 })";
/// Its monitor obeys DDC/CI and is 40 % bright.
inline constexpr std::string_view ddc2 = R"({ "id": 2, "ddc": { "brightness": 40 } })";
/// Its monitor gets no message (kIOReturnTimeout).
inline constexpr std::string_view mute2 = R"({ "id": 2, "ddc": { "send": -536870186 } })";
/// Its I2C bus cannot be opened (kIOReturnExclusiveAccess).
inline constexpr std::string_view locked2 = R"({ "id": 2, "ddc": { "open": -536870203 } })";
/// It mirrors display 1.
inline constexpr std::string_view mirror2 = R"({ "id": 2, "mirrors": 1 })";
/// It is plugged in, but the window server has been told to leave it off.
inline constexpr std::string_view disabled2 = R"({ "id": 2, "enabled": false })";

// Displays with names, for what lists them.
inline constexpr std::string_view builtIn1 =
    R"({ "id": 1, "main": true, "builtin": true, "profilerName": "Built-in" })";
inline constexpr std::string_view panel1 =
    R"({ "id": 1, "main": true, "builtin": true, "profilerName": "Panel" })";
inline constexpr std::string_view studio2 = R"({ "id": 2, "profilerName": "Studio" })";
inline constexpr std::string_view ddcStudio2 =
    R"({ "id": 2, "profilerName": "Studio", "ddc": { "brightness": 40 } })";
inline constexpr std::string_view disabledStudio2 =
    R"({ "id": 2, "profilerName": "Studio", "enabled": false })";
inline constexpr std::string_view left2 = R"({ "id": 2, "profilerName": "Left" })";
inline constexpr std::string_view right3 = R"({ "id": 3, "profilerName": "Right" })";

/// The displays 1 (main) to `count`, to be given to `scene` as one.
std::string numberedDisplays(int count);

// What else may be special.
inline constexpr std::string_view noSkyLight = R"("skylight": false)";
inline constexpr std::string_view onlySkyLightsList = R"("skylight": ["SLSGetDisplayList"])";
inline constexpr std::string_view onlySkyLightsSwitch =
    R"("skylight": ["SLSConfigureDisplayEnabled"])";
inline constexpr std::string_view softwareMirroring = R"("mirroring": "software")";

/// SkyLight refuses every change.
std::string refusedBySkyLight();
/// All faults of the scene: there can be only one such member.
std::string faults(std::initializer_list<simulated_mac::SceneFault> planned);
/// The stored set of disconnected displays, as JSON: `remembered("[2, 3]")`.
std::string remembered(std::string_view stored);
/// The I/O registry's nodes instead of those that the displays imply, as JSON, separated by commas.
std::string registry(std::string_view nodes);
