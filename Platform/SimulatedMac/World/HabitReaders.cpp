#include "SimulatedMac/World/HabitReaders.h"

#include <algorithm>

namespace simulated_mac {
namespace {

constexpr int longestSettling = 10000;

/// Whether the text is the second of two.
bool isSecond(const Field& field, const std::string& first, const std::string& second) {
    const std::string expected = "\"" + first + "\" or \"" + second + "\"";
    field.require(field.value() == first || field.value() == second, expected.c_str());
    return field.value() == second;
}

MirrorMain readMirrorMain(const Field& field) {
    return isSecond(field, "master", "largest") ? MirrorMain::largest : MirrorMain::master;
}

} // namespace

Field::Readers habitReaders(SceneHabits& habits) {
    return {
        {"permanent",
         [&](const Field& f) { habits.permanentIsSession = isSecond(f, "permanent", "session"); }},
        {"permanentKeeps",
         [&](const Field& f) { habits.permanentKeepsAll = isSecond(f, "change", "all"); }},
        {"gammaReloads", [&](const Field& f) { habits.gammaReloads = f.boolean(); }},
        {"gammaExitZeroes", [&](const Field& f) { habits.gammaExitZeroes = f.word(); }},
        {"gammaOutlivesProcess",
         [&](const Field& f) { habits.gammaOutlivesProcess = f.boolean(); }},
        {"gammaOutlivesDisabling",
         [&](const Field& f) { habits.gammaOutlivesDisabling = f.boolean(); }},
        {"mirrorMain", [&](const Field& f) { habits.mirrorMain = readMirrorMain(f); }},
        {"settleCalls",
         [&](const Field& f) {
             habits.settleCalls = static_cast<int>(f.integer(0, longestSettling));
         }},
        {"onlineOrder",
         [&](const Field& f) { habits.onlineStartsWithMain = isSecond(f, "scene", "main-first"); }},
        {"session", [&](const Field& f) { habits.session = f.boolean(); }},
    };
}

void checkHabits(const Scene& scene, const Field& root) {
    const auto zeroed = scene.habits.gammaExitZeroes;
    if (zeroed &&
        std::ranges::find(scene.displays, *zeroed, &SceneDisplay::id) == scene.displays.end()) {
        root.member("gammaExitZeroes").reject("no display " + std::to_string(*zeroed));
    }
}

} // namespace simulated_mac
