#include "SimulatedMac/World/RunningMac.h"

#include "SimulatedMac/World/AttachedProcesses.h"
#include "SimulatedMac/World/AttendedMac.h"
#include "SimulatedMac/World/CallLog.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/EventPlan.h"
#include "SimulatedMac/World/FaultPlan.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/SceneNumbers.h"
#include "SimulatedMac/World/StateDirectory.h"
#include "SimulatedMac/World/Verbs.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <unistd.h>

namespace simulated_mac {
namespace {

constexpr const char* stateFile = StateDirectory::stateFile;
constexpr const char* defaultsFile = "defaults.json";

constexpr int stateVersion = 1;

/// A change that the slow lists do not show yet.
struct Settling {
    int calls = 0; ///< how many calls still see the state from before it
    MacState before;
};

} // namespace

struct RunningMac::Internals {
    Internals(Scene chosen, std::string path, bool isTemporary)
        : given(std::move(chosen))
        , scene(given)
        , directory(std::move(path))
        , callLog(directory)
        , processes(directory)
        , faults(scene.faults)
        , events(scene.events)
        , temporary(isTemporary)
        , owner(getpid())
        , state(scene) {}

    // Gone with the process that made it, not with one that this process was forked into.
    ~Internals() {
        if (temporary && owner == getpid()) {
            std::error_code ignored;
            std::filesystem::remove_all(directory.path(), ignored);
        }
    }

    static inline int macs = 0;
    int serial = ++macs;
    Scene given; ///< as it was read
    Scene scene; ///< with the IDs that the displays have now
    StateDirectory directory;
    CallLog callLog;
    AttachedProcesses processes;
    FaultPlan faults;
    EventPlan events;
    bool temporary;
    int owner;
    MacState state;
    std::deque<Settling> settling; ///< oldest change first
    std::string stateVersionRead;
    bool withinCall = false;

    void adopt(const nlohmann::json& stored) {
        state = MacState(given, stored["displays"]);
        settling.clear();
        for (const auto& change : stored.value("settling", nlohmann::json::array())) {
            settling.push_back(
                {change.at("calls").get<int>(), MacState(given, change.at("displays"))});
        }
        renumber(scene, given, state.ids());
    }

    void readState() {
        const auto stored = directory.read(stateFile);
        const auto version = stored.is_object() ? stored.value("version", 0) : 0;
        if (version > stateVersion) {
            complain(directory.file(stateFile) + ": version: written by a newer simulated Mac");
        }
        if (version != stateVersion || !stored.contains("displays")) {
            complain(directory.file(stateFile) + ": version: not a state of a simulated Mac");
        }
        try {
            adopt(stored);
        } catch (const nlohmann::json::exception&) {
            complain(directory.file(stateFile) + ": displays: not a state of a simulated Mac");
        }
    }

    void publish() {
        nlohmann::json stored = {
            {"version", stateVersion}, {"scene", given.text}, {"displays", state.toJson()}};
        for (const Settling& change : settling) {
            stored["settling"].push_back(
                {{"calls", change.calls}, {"displays", change.before.toJson()}});
        }
        directory.replace(stateFile, stored);
        renumber(scene, given, state.ids());
        stateVersionRead = directory.versionOf(stateFile);
    }

    void createFromScene() {
        state = MacState(given);
        settling.clear();
        publish();
        directory.replace(defaultsFile, given.defaults);
    }

    /// For use under the lock.
    void change(const std::function<void(MacState&)>& apply) {
        stateVersionRead.clear(); // until it is published
        readState();
        const MacState before = state;
        state.forgetEndedOwners();
        apply(state);
        if (given.habits.settleCalls > 0 && !state.looksLike(before)) {
            settling.push_back({given.habits.settleCalls, before});
        }
    }

    /// Another call has begun: time passes for the slow lists.
    void countCallForSlowLists() {
        readState();
        for (Settling& change : settling) {
            --change.calls;
        }
        std::erase_if(settling, [](const Settling& change) { return change.calls < 0; });
        publish();
    }
};

RunningMac::RunningMac(Scene scene, std::string directory, bool temporary)
    : internals_(std::make_unique<Internals>(std::move(scene), std::move(directory), temporary)) {
    internals_->directory.locked([this] {
        if (!internals_->directory.exists(stateFile)) {
            internals_->createFromScene();
        }
    });
}

RunningMac::~RunningMac() = default;

int RunningMac::serial() const {
    return internals_->serial;
}
const Scene& RunningMac::scene() const {
    return internals_->scene;
}
const std::string& RunningMac::stateDirectory() const {
    return internals_->directory.path();
}
CallLog& RunningMac::callLog() {
    return internals_->callLog;
}
FaultPlan& RunningMac::faults() {
    return internals_->faults;
}
const FaultPlan& RunningMac::faults() const {
    return internals_->faults;
}

bool RunningMac::isWithinCall() const {
    return internals_->withinCall;
}
AttachedProcesses& RunningMac::processes() {
    return internals_->processes;
}
EventPlan& RunningMac::events() {
    return internals_->events;
}

const SceneDisplay* RunningMac::sceneDisplay(uint32_t id) const {
    const auto& displays = internals_->scene.displays;
    const auto found = std::ranges::find(displays, id, &SceneDisplay::id);
    return found == displays.end() ? nullptr : &*found;
}

const MacState& RunningMac::state() {
    const std::string version = internals_->directory.versionOf(stateFile);
    if (version != internals_->stateVersionRead) {
        internals_->readState();
        internals_->stateVersionRead = version;
    }
    return internals_->state;
}

// The log comes first: a state that no logged call explains would be a riddle.
void RunningMac::change(const std::function<void(MacState&)>& apply) {
    callLog().flush();
    internals_->directory.locked([&] {
        internals_->change(apply);
        internals_->publish();
    });
}

void RunningMac::changeAtOnce(const std::function<void(MacState&)>& apply) {
    callLog().flush();
    internals_->directory.locked([&] {
        internals_->change(apply);
        internals_->settling.clear();
        internals_->publish();
    });
}

const MacState& RunningMac::lateState() {
    const MacState& now = state();
    return internals_->settling.empty() ? now : internals_->settling.front().before;
}

void RunningMac::restoreScene() {
    internals_->directory.locked([this] {
        internals_->createFromScene();
        callLog().clear();
    });
}

nlohmann::json RunningMac::storedDefaults() {
    const auto stored = internals_->directory.read(defaultsFile);
    return stored.is_object() ? stored : nlohmann::json::object();
}

void RunningMac::storeDefaults(const nlohmann::json& defaults) {
    internals_->directory.locked([&] { internals_->directory.replace(defaultsFile, defaults); });
}

std::optional<SceneFault> RunningMac::beginCall(const std::string& function) {
    (void)state(); // so that the scene has the current IDs
    if (!internals_->settling.empty()) {
        internals_->directory.locked([this] { internals_->countCallForSlowLists(); });
    }
    return faults().count(function);
}

void RunningMac::attachThisProcess() {
    processes().attachThisProcess();
}

std::vector<SceneEvent> RunningMac::eventsDue(SceneEvent::Moment moment,
                                              const std::string& function) {
    attachThisProcess();
    return events().count(moment, function);
}

void RunningMac::letHappen(const SceneEvent& event) {
    internals_->withinCall = true;
    try {
        (void)parseVerb(wordsOf(event.line)).carryOut(AttendedMac::current());
    } catch (const std::exception& error) {
        complain(event.place + ": " + error.what());
    }
    internals_->withinCall = false;
}

void RunningMac::log(const LoggedCall& call) {
    callLog().add(call);
}

} // namespace simulated_mac
