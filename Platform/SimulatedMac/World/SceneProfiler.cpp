#include "SimulatedMac/World/SceneProfiler.h"

#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/Scene.h"

namespace simulated_mac {
namespace {

constexpr double longestDelay = 3600;
constexpr int lastSignal = 31;

double readDelay(const Field& field) {
    field.require(field.value().is_number(), "a number");
    const auto delay = field.value().get<double>();
    field.require(delay >= 0 && delay <= longestDelay, "within 0 and 3600 seconds");
    return delay;
}

} // namespace

void readProfiler(const Field& field, Scene& scene) {
    ProfilerManners& manners = scene.profilerManners;
    field.eachMember({
        {"output", [&](const Field& f) { scene.profilerOutput = f.text(); }},
        {"missing", [&](const Field& f) { scene.profilerMissing = f.boolean(); }},
        {"executable", [&](const Field& f) { scene.profilerExecutable = f.text(); }},
        {"delay", [&](const Field& f) { manners.delay = readDelay(f); }},
        {"exit", [&](const Field& f) { manners.exit = static_cast<int>(f.integer(0, 255)); }},
        {"signal",
         [&](const Field& f) { manners.signal = static_cast<int>(f.integer(1, lastSignal)); }},
        {"stderr", [&](const Field& f) { manners.standardError = f.text(); }},
        {"keepOpen", [&](const Field& f) { manners.keepOpen = f.boolean(); }},
    });
    if (manners.signal != 0 && field.value().contains("exit")) {
        field.member("signal").reject("a process ends either by exit or by a signal");
    }
}

} // namespace simulated_mac
