#include "SimulatedMac/World/Mac.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/EventPlan.h"
#include "SimulatedMac/World/FaultPlan.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/SceneFaults.h"
#include "SimulatedMac/World/SharedMemory.h"
#include "SimulatedMac/World/StateDirectory.h"
#include "SimulatedMac/World/StoredState.h"
#include "SimulatedMac/World/TextFile.h"
#include "SimulatedMac/World/Verbs.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace simulated_mac {
namespace {

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// A relative path would mean another directory wherever a program is started.
std::string absolutePath(const char* name) {
    const std::string path = environment(name);
    return path.starts_with('/') ? path : "";
}

std::string defaultStateDirectory() {
    const std::string stateHome = absolutePath("XDG_STATE_HOME");
    const std::string home = absolutePath("HOME");
    if (stateHome.empty() && home.empty()) {
        throw InputError("no directory for the state: neither SIMULATED_MAC_STATE is set, nor "
                         "XDG_STATE_HOME or HOME to an absolute path");
    }
    return (stateHome.empty() ? home + "/.local/state" : stateHome) + "/veilpane/simulated-mac";
}

// Without a scene file a Mac goes on being the one that its state was made from.
Scene chosenScene(const StateDirectory& directory) {
    if (const std::string file = environment("SIMULATED_MAC_SCENE"); !file.empty()) {
        return Scene::parse(readTextFile(file), file);
    }
    const auto stored = readState(directory);
    return stored.is_null() ? Scene::desk()
                            : Scene::parse(stored["scene"].get<std::string>(),
                                           directory.place(StateDirectory::stateFile) + ": scene");
}

/// True while the Mac is being opened, and once the process's end has taken it down.
bool macIsOutOfReach = false;

std::unique_ptr<Mac>& currentMac() {
    struct Holder {
        std::unique_ptr<Mac> mac;
        ~Holder() { macIsOutOfReach = true; }
    };
    static Holder holder;
    return holder.mac;
}

/// Makes a Mac the current one.
void open(const std::function<Mac*()>& make) {
    macIsOutOfReach = true;
    currentMac().reset(make());
    macIsOutOfReach = false;
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
        open([] {
            return orComplain([] {
                const std::string given = environment("SIMULATED_MAC_STATE");
                const std::string path = given.empty() ? defaultStateDirectory() : given;
                auto directory = std::make_unique<StateDirectory>(path);
                Scene scene = chosenScene(*directory);
                return new Mac(std::move(scene), std::move(directory));
            });
        });
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
    if (macIsOutOfReach) {
        return false;
    }
    return currentMac() || !environment("SIMULATED_MAC_SCENE").empty() ||
           !environment("SIMULATED_MAC_STATE").empty();
}

Mac& Mac::boot(const Scene& scene) {
    ledger::clear();
    open([&] { return new Mac(scene, std::make_unique<SharedMemory>()); });
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
uint64_t Mac::faultsFired() const {
    return faults().fired();
}

CallMoment Mac::during(const std::string& call, int nth) {
    return {*this, call, nth};
}
void Mac::clearEvents() {
    events().clear();
}

void Mac::schedule(const SceneEvent& event) {
    requirePossible(parseVerb(wordsOf(event.line)), scene(), {});
    events().add(event);
}

const CallMoment& CallMoment::before(const std::string& line) const {
    mac_.schedule({call_, SceneEvent::Moment::before, nth_, line, line});
    return *this;
}

const CallMoment& CallMoment::after(const std::string& line) const {
    mac_.schedule({call_, SceneEvent::Moment::after, nth_, line, line});
    return *this;
}

} // namespace simulated_mac
