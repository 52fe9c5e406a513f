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
#include "SimulatedMac/World/StoredDefaults.h"
#include "SimulatedMac/World/StoredState.h"
#include "SimulatedMac/World/Verbs.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <unistd.h>
#include <utility>

namespace simulated_mac {
namespace {

constexpr const char* stateFile = StateDirectory::stateFile;
constexpr const char* defaultsFile = StateDirectory::defaultsFile;

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
    std::deque<Settling> settling;               ///< oldest change first
    std::optional<std::string> stateVersionRead; ///< absent before the first reading
    bool checked = false;
    bool withinCall = false;

    /// Throws InputError, and then nothing is adopted.
    void adopt(const nlohmann::json& stored) {
        const std::string file = directory.file(stateFile);
        MacState read(given, stored["displays"], file);
        std::deque<Settling> changes;
        if (stored.contains("settling")) {
            Field(stored["settling"], file, "settling").eachElement([&](const Field& change) {
                const auto calls = static_cast<int>(change.at("calls").integer(0, INT32_MAX));
                changes.push_back({calls, MacState(given, change.at("displays"))});
            });
        }
        state = std::move(read);
        settling = std::move(changes);
        renumber(scene, given, state.ids());
    }

    void readState() {
        orComplain([this] {
            const auto stored = simulated_mac::readState(directory);
            if (stored.is_null()) {
                throw InputError(directory.file(stateFile) + ": gone");
            }
            adopt(stored);
        });
    }

    [[nodiscard]] nlohmann::json stateToStore() const {
        nlohmann::json stored = {
            {"version", stateVersion}, {"scene", given.text}, {"displays", state.toJson()}};
        for (const Settling& change : settling) {
            stored["settling"].push_back(
                {{"calls", change.calls}, {"displays", change.before.toJson()}});
        }
        return stored;
    }

    void publish() {
        directory.replace(stateFile, stateToStore());
        renumber(scene, given, state.ids());
        stateVersionRead = directory.versionOf(stateFile);
    }

    // The state comes last: a Mac that has one is complete, whenever its making was cut short.
    void createFromScene() {
        state = MacState(given);
        settling.clear();
        directory.replaceAll({{defaultsFile, given.defaults}, {stateFile, stateToStore()}});
        renumber(scene, given, state.ids());
        stateVersionRead = directory.versionOf(stateFile);
    }

    /// For use under the lock.
    void change(const std::function<void(MacState&)>& apply) {
        stateVersionRead.reset(); // until it is published
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
    return orComplain([this] { return readDefaults(internals_->directory); });
}

void RunningMac::storeDefaults(const nlohmann::json& defaults) {
    internals_->directory.locked([&] { internals_->directory.replace(defaultsFile, defaults); });
}

void RunningMac::checkFiles() {
    if (!std::exchange(internals_->checked, true)) {
        (void)state();
        (void)storedDefaults();
        callLog().requireWritable();
    }
}

std::optional<SceneFault> RunningMac::beginCall(const std::string& function) {
    checkFiles();
    (void)state(); // so that the scene has the current IDs
    if (!internals_->settling.empty()) {
        internals_->directory.locked([this] { internals_->countCallForSlowLists(); });
    }
    return faults().count(function);
}

void RunningMac::attachThisProcess() {
    checkFiles();
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

bool RunningMac::hasFaultFor(const std::string& function) const {
    return faults().names(function);
}

uint64_t RunningMac::callCount() const {
    return faults().calls();
}

void RunningMac::log(const LoggedCall& call) {
    callLog().add(call);
}

} // namespace simulated_mac
