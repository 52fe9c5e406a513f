// Whatever stands in state.json: what is no state is rejected with the file's name, and every other
// is consistent.

#include "SimulatedMac/World/StoredState.h"

#include "Fuzz/FuzzInput.h"
#include "Fuzz/MacStateInvariants.h"
#include "SimulatedMac/World/InputError.h"
#include "SimulatedMac/World/StateDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using namespace simulated_mac;
using namespace veilpane;

/// A directory for the life of the process, in which the file is to stand.
const StateDirectory& directory() {
    static const StateDirectory made = [] {
        std::string path = std::filesystem::temp_directory_path() / "veilpane-fuzz-XXXXXX";
        fuzz::require(mkdtemp(path.data()) != nullptr, "a directory can be made");
        return StateDirectory(path);
    }();
    return made;
}

struct StoredMac {
    Scene scene;
    MacState state;
};

StoredMac readMac() {
    const std::string file = directory().place(StateDirectory::stateFile);
    const nlohmann::json stored = readState(directory());
    const Scene scene = Scene::parse(stored["scene"].get<std::string>(), file + ": scene");
    return {scene, MacState(scene, stored["displays"], file)};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string file = directory().place(StateDirectory::stateFile);
    std::ofstream(file, std::ios::binary) << fuzz::textOf(data, size);
    try {
        const StoredMac mac = readMac();
        fuzz::requireConsistent(mac.state, mac.scene);
    } catch (const InputError& error) {
        fuzz::require(std::string(error.what()).starts_with(file), "an error names its file");
    }
    return 0;
}
