#include "SimulatedMac/World/Mac.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/FaultPlan.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/SceneFaults.h"
#include "SimulatedMac/World/StateDirectory.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace simulated_mac {
namespace {

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::string defaultStateDirectory() {
    const std::string stateHome = environment("XDG_STATE_HOME");
    return (stateHome.empty() ? environment("HOME") + "/.local/state" : stateHome) +
           "/veilpane/simulated-mac";
}

std::string textOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    if (!stream || std::filesystem::is_directory(file)) {
        complain(file + ": cannot be read");
    }
    return content.str();
}

Scene sceneFrom(const std::string& text, const std::string& source) {
    try {
        return Scene::parse(text, source);
    } catch (const SceneError& error) {
        complain(error.what());
    }
}

// Without a scene file a Mac goes on being the one that its state was made from.
Scene chosenScene(const StateDirectory& directory) {
    if (const std::string file = environment("SIMULATED_MAC_SCENE"); !file.empty()) {
        return sceneFrom(textOf(file), file);
    }
    const auto stored = directory.read(StateDirectory::stateFile);
    if (stored.is_object() && stored.contains("scene") && stored["scene"].is_string()) {
        return sceneFrom(stored["scene"].get<std::string>(),
                         directory.file(StateDirectory::stateFile));
    }
    return Scene::desk();
}

std::string newTemporaryDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "simulated-mac-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        complain(name + ": cannot be created");
    }
    return name;
}

std::unique_ptr<Mac>& currentMac() {
    static std::unique_ptr<Mac> mac;
    return mac;
}

bool macIsBeingOpened = false;

/// Makes a Mac the current one.
void open(const std::function<Mac*()>& make) {
    macIsBeingOpened = true;
    currentMac().reset(make());
    macIsBeingOpened = false;
}

// A Mac's process ends with everything given back; what is left is a leak in the program.
void endWithStatusOfLedger() {
    if (const std::string leaked = ledger::outstanding(); !leaked.empty()) {
        std::fflush(stdout);
        std::fprintf(stderr, "simulated Mac: not released:\n%s", leaked.c_str());
        _exit(70);
    }
}

} // namespace

Mac& Mac::current() {
    auto& mac = currentMac();
    if (!mac) {
        const std::string given = environment("SIMULATED_MAC_STATE");
        const std::string path = given.empty() ? defaultStateDirectory() : given;
        open([&] { return new Mac(chosenScene(StateDirectory(path)), path, false); });
        std::atexit([] {
            current().callLog().flush();
            endWithStatusOfLedger();
        });
    }
    return *mac;
}

// Only here is it known that there is one Mac behind all three.
AttendedMac& AttendedMac::current() {
    return Mac::current();
}
RunningMac& RunningMac::current() {
    return Mac::current();
}
bool RunningMac::isChosen() {
    if (macIsBeingOpened) {
        return false;
    }
    return currentMac() || !environment("SIMULATED_MAC_SCENE").empty() ||
           !environment("SIMULATED_MAC_STATE").empty();
}

Mac& Mac::boot(const Scene& scene) {
    ledger::clear();
    open([&] { return new Mac(scene, newTemporaryDirectory(), true); });
    return *currentMac();
}

Mac& Mac::boot(const std::string& sceneText) {
    return boot(Scene::parse(sceneText, "scene"));
}

void Mac::shutDown() {
    currentMac().reset();
}

void Mac::failCall(const SceneFault& fault) {
    if (const auto wrong = problemOf(fault)) {
        throw std::invalid_argument(fault.call + ": " + wrong->key + ": " + wrong->problem);
    }
    faults().add(fault);
}
void Mac::clearFaults() {
    faults().clear();
}
bool Mac::faultFired() const {
    return faults().fired();
}

} // namespace simulated_mac
