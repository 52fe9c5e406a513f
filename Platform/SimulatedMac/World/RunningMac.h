#pragma once

#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace simulated_mac {

class AttachedProcesses;
class CallLog;
class EventPlan;
class FaultPlan;
class MacState;
class StateStore;
struct LoggedCall;

/// The Mac that this process runs on, as its platform functions see it. It is the Mac of
/// SIMULATED_MAC_SCENE and SIMULATED_MAC_STATE, opened at the first platform call, unless a test
/// has booted another one. A Mac that cannot be opened, read or written ends the process with
/// status 2 and one line on standard error.
///
/// A person sees and does more with it (AttendedMac), a test most (Mac).
class RunningMac {
public:
    static RunningMac& current();
    /// Whether this process is on a Mac already, or has been told which one to be on. No while it
    /// is being opened and after the process's end has taken it down, as a sanitizer's own calls
    /// then would open another.
    [[nodiscard]] static bool isChosen();

    RunningMac(const RunningMac&) = delete;
    RunningMac& operator=(const RunningMac&) = delete;

    [[nodiscard]] int serial() const; ///< tells the Macs of one process apart; from 1
    /// The Mac's hardware. The displays have the IDs that they had when the state was last asked
    /// for or a call began.
    [[nodiscard]] const Scene& scene() const;
    [[nodiscard]] const SceneDisplay* sceneDisplay(uint32_t id) const; ///< null for an unknown ID
    /// A state directory in which a program that is started now finds this Mac.
    [[nodiscard]] std::string directoryForPrograms();

    /// The arrangement as last published by any process.
    [[nodiscard]] const MacState& state();
    /// The arrangement as the slow ones see it: SkyLight, the screen list and the profiler.
    [[nodiscard]] const MacState& lateState();
    /// Changes the arrangement and publishes it, in one step for other processes. What `apply`
    /// throws leaves it as it was.
    void change(const std::function<void(MacState&)>& apply);

    [[nodiscard]] nlohmann::json storedDefaults();
    void storeDefaults(const nlohmann::json& defaults);

    /// Makes this process one that runs on the Mac, which a logout ends. The first call does, too.
    void attachThisProcess();
    /// Counts a call; the fault that applies to it, if any.
    [[nodiscard]] std::optional<SceneFault> beginCall(const std::string& function);
    /// Whether a fault is for calls of this very name.
    [[nodiscard]] bool hasFaultFor(const std::string& function) const;
    [[nodiscard]] uint64_t callCount() const; ///< calls of this process that began
    void log(const LoggedCall& call);
    /// Counts a call that begins or ends; what happens to the Mac at that moment.
    [[nodiscard]] std::vector<SceneEvent> eventsDue(SceneEvent::Moment moment,
                                                    const std::string& function);
    /// Lets somebody else do it. An event that the Mac's state does not allow ends the process.
    void letHappen(const SceneEvent& event);

protected:
    /// From now on calls go to the listener, when they have returned, instead of the log.
    void listen(std::function<void(const LoggedCall&)> listener);
    /// A new state is made from the scene; one that the store holds goes on.
    RunningMac(Scene scene, std::unique_ptr<StateStore> store);
    ~RunningMac();

    /// Like `change`, and nobody sees the old arrangement any more.
    void changeAtOnce(const std::function<void(MacState&)>& apply);
    /// Whether what is going on happens while a call of this process's program runs.
    [[nodiscard]] bool isWithinCall() const;
    [[nodiscard]] AttachedProcesses& processes();
    /// Puts everything back to the scene: arrangement, user defaults, call log.
    void restoreScene();
    [[nodiscard]] CallLog& callLog();
    [[nodiscard]] FaultPlan& faults();
    [[nodiscard]] const FaultPlan& faults() const;
    [[nodiscard]] EventPlan& events();

private:
    /// At the first call, so that a program on a Mac that is damaged has done nothing yet.
    void checkFiles();

    struct Internals;
    std::unique_ptr<Internals> internals_;
};

} // namespace simulated_mac
