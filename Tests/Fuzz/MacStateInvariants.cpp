#include "Fuzz/MacStateInvariants.h"

#include "Fuzz/FuzzInput.h"

#include <algorithm>

namespace veilpane::fuzz {

namespace {

using simulated_mac::MacState;
using IDs = std::vector<std::uint32_t>;

bool contains(const IDs& ids, std::uint32_t id) {
    return std::ranges::find(ids, id) != ids.end();
}

bool areAmong(const IDs& ids, const IDs& all) {
    return std::ranges::all_of(ids, [&](std::uint32_t id) { return contains(all, id); });
}

void requireConsistentLists(const MacState& state) {
    require(areAmong(state.known(), state.ids()), "known displays are of the scene");
    require(areAmong(state.online(), state.known()), "online displays are known");
    require(areAmong(state.active(), state.online()), "active displays are online");
    require(areAmong(state.screens(), state.online()), "screens are online");
}

void requireConsistentMain(const MacState& state) {
    const auto main = state.main();
    require(main.has_value() == !state.screens().empty(), "a desktop has a main display");
    if (!main) {
        return;
    }
    require(contains(state.online(), *main), "the main display is online");
    require(!state.isActive(*main) || state.active().front() == *main,
            "the main display is the first active one");
}

void requireConsistentMirrors(const MacState& state) {
    for (const std::uint32_t id : state.ids()) {
        const std::uint32_t master = state.mirrorMaster(id);
        require(master != id, "no display mirrors itself");
        require(master == 0 || state.isOnline(master), "a master is online");
        require(state.mirrorMaster(master) == 0, "mirror sets are one deep");
    }
}

} // namespace

void requireConsistent(const MacState& state, const simulated_mac::Scene& scene) {
    requireConsistentLists(state);
    requireConsistentMain(state);
    requireConsistentMirrors(state);
    const auto written = state.toJson();
    require(MacState(scene, written).toJson() == written, "a state reads again as it is written");
}

} // namespace veilpane::fuzz
