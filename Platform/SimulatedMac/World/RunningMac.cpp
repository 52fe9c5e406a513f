#include "SimulatedMac/World/RunningMac.h"

#include "SimulatedMac/World/AttachedProcesses.h"
#include "SimulatedMac/World/AttendedMac.h"
#include "SimulatedMac/World/CallLog.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/EventPlan.h"
#include "SimulatedMac/World/FaultPlan.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/SceneNumbers.h"
#include "SimulatedMac/World/StateStore.h"
#include "SimulatedMac/World/StoredDefaults.h"
#include "SimulatedMac/World/StoredState.h"
#include "SimulatedMac/World/Verbs.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace simulated_mac {
namespace {

constexpr const char* stateFile = StateStore::stateFile;
constexpr const char* defaultsFile = StateStore::defaultsFile;

/// A change that the slow lists do not show yet.
struct Settling {
    int calls = 0; ///< how many calls still see the state from before it
    MacState before;
};

} // namespace

struct RunningMac::Internals {
    Internals(Scene chosen, std::unique_ptr<StateStore> keeper)
        : given(std::move(chosen))
        , scene(given)
        , store(std::move(keeper))
        , callLog(*store)
        , processes(*store)
        , faults(scene.faults)
        , events(scene.events)
        , state(scene) {}

    static inline int macs = 0;
    int serial = ++macs;
    Scene given; ///< as it was read
    Scene scene; ///< with the IDs that the displays have now
    std::unique_ptr<StateStore> store;
    CallLog callLog;
    AttachedProcesses processes;
    FaultPlan faults;
    EventPlan events;
    std::function<void(const LoggedCall&)> listener;
    MacState state;
    std::deque<Settling> settling;                       ///< oldest change first
    std::optional<StateStore::Version> stateVersionRead; ///< absent before the first reading
    bool checked = false;
    bool withinCall = false;

    /// Throws InputError, and then nothing is adopted.
    void adopt(const nlohmann::json& stored) {
        const std::string file = store->place(stateFile);
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
            const auto stored = simulated_mac::readState(*store);
            if (stored.is_null()) {
                throw InputError(store->place(stateFile) + ": gone");
            }
            adopt(stored);
        });
    }

    void readIfChanged() {
        const StateStore::Version version = store->versionOf(stateFile);
        if (version != stateVersionRead) {
            readState();
            stateVersionRead = version;
        }
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
        store->replace(stateFile, stateToStore());
        renumber(scene, given, state.ids());
        stateVersionRead = store->versionOf(stateFile);
    }

    // The state comes last: a Mac that has one is complete, whenever its making was cut short.
    void createFromScene() {
        state = MacState(given);
        settling.clear();
        store->replaceAll({{defaultsFile, given.defaults}, {stateFile, stateToStore()}});
        renumber(scene, given, state.ids());
        stateVersionRead = store->versionOf(stateFile);
    }

    /// For use under the lock.
    void change(const std::function<void(MacState&)>& apply) {
        readIfChanged();
        const MacState before = state;
        try {
            state.forgetEndedOwners();
            apply(state);
        } catch (...) {
            state = before;
            throw;
        }
        if (given.habits.settleCalls > 0 && !state.looksLike(before)) {
            settling.push_back({given.habits.settleCalls, before});
        }
    }

    /// Another call has begun: time passes for the slow lists.
    void countCallForSlowLists() {
        readIfChanged();
        for (Settling& change : settling) {
            --change.calls;
        }
        std::erase_if(settling, [](const Settling& change) { return change.calls < 0; });
        publish();
    }
};

RunningMac::RunningMac(Scene scene, std::unique_ptr<StateStore> store)
    : internals_(std::make_unique<Internals>(std::move(scene), std::move(store))) {
    internals_->store->locked([this] {
        if (!internals_->store->exists(stateFile)) {
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
std::string RunningMac::directoryForPrograms() {
    return internals_->store->directoryForPrograms();
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
    internals_->readIfChanged();
    return internals_->state;
}

// The log comes first: a state that no logged call explains would be a riddle.
void RunningMac::change(const std::function<void(MacState&)>& apply) {
    callLog().flush();
    internals_->store->locked([&] {
        internals_->change(apply);
        internals_->publish();
    });
}

void RunningMac::changeAtOnce(const std::function<void(MacState&)>& apply) {
    callLog().flush();
    internals_->store->locked([&] {
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
    internals_->store->locked([this] {
        internals_->createFromScene();
        callLog().clear();
    });
}

nlohmann::json RunningMac::storedDefaults() {
    return orComplain([this] { return readDefaults(*internals_->store); });
}

void RunningMac::storeDefaults(const nlohmann::json& defaults) {
    internals_->store->locked([&] { internals_->store->replace(defaultsFile, defaults); });
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
        internals_->store->locked([this] { internals_->countCallForSlowLists(); });
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
    if (internals_->listener) {
        internals_->listener(call);
    } else {
        callLog().add(call);
    }
}

void RunningMac::listen(std::function<void(const LoggedCall&)> listener) {
    internals_->listener = std::move(listener);
}

} // namespace simulated_mac
