// Whatever a scene file holds: one that does not describe a Mac is rejected with its name, and
// every other boots and stays consistent, whatever a person does to it.

#include "Fuzz/FuzzInput.h"
#include "Fuzz/MacStateInvariants.h"
#include "SimulatedMac/World/Mac.h"
#include "SimulatedMac/World/Scene.h"

namespace {

using namespace simulated_mac;
using namespace veilpane;

std::optional<Scene> sceneIn(const std::string& text) {
    try {
        return Scene::parse(text, "scene");
    } catch (const InputError& error) {
        fuzz::require(std::string(error.what()).starts_with("scene: "), "an error names its file");
        return std::nullopt;
    }
}

// The sanitizers make calls of their own, such as pipe, which must not fail.
Scene withoutFaults(Scene scene) {
    scene.faults.clear();
    scene.events.clear();
    return scene;
}

void handle(MacState& state, std::uint32_t id, const Scene& scene) {
    for (const auto change :
         {&MacState::closeLid, &MacState::unplug, &MacState::plug, &MacState::openLid}) {
        (state.*change)(id);
        fuzz::requireConsistent(state, scene);
    }
    state.setMirrorMaster(id, state.ids().front(), true);
    state.setEnabled(id, false, id % 2 == 0);
    state.finishConfiguration(true);
    fuzz::requireConsistent(state, scene);
}

void liveThrough(MacState state, const Scene& scene) {
    const auto ids = state.ids();
    for (std::size_t i = 0; i < ids.size() && i < 3; ++i) {
        handle(state, ids[i], scene);
    }
    for (const auto change : {&MacState::sleep, &MacState::rebootRenumbered, &MacState::wake,
                              &MacState::logOut, &MacState::reboot}) {
        (state.*change)();
        fuzz::requireConsistent(state, scene);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto scene = sceneIn(fuzz::textOf(data, size));
    if (!scene) {
        return 0;
    }
    Mac& mac = Mac::boot(withoutFaults(*scene));
    const MacState state(*scene);
    fuzz::require(mac.state().toJson() == state.toJson(), "a Mac boots as its scene says");
    fuzz::require(mac.displays().size() == scene->displays.size(), "every display is seen");
    fuzz::requireConsistent(state, *scene);
    liveThrough(state, *scene);
    return 0;
}
