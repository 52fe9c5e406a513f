#pragma once

#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace simulated_mac {

class CallLog;
class FaultPlan;
class MacState;
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
    /// Whether this process is on a Mac already, or has been told which one to be on. No while it is
    /// being opened, as a sanitizer's own calls then would open another.
    [[nodiscard]] static bool isChosen();

    RunningMac(const RunningMac&) = delete;
    RunningMac& operator=(const RunningMac&) = delete;

    [[nodiscard]] int serial() const; ///< tells the Macs of one process apart; from 1
    [[nodiscard]] const Scene& scene() const;
    [[nodiscard]] const SceneDisplay* sceneDisplay(uint32_t id) const; ///< null for an unknown ID
    [[nodiscard]] const std::string& stateDirectory() const;

    /// The arrangement as last published by any process.
    [[nodiscard]] const MacState& state();
    /// Changes the arrangement and publishes it, in one step for other processes.
    void change(const std::function<void(MacState&)>& apply);

    [[nodiscard]] nlohmann::json storedDefaults();
    void storeDefaults(const nlohmann::json& defaults);

    /// Counts a call; the fault that applies to it, if any.
    [[nodiscard]] std::optional<SceneFault> beginCall(const std::string& function);
    /// Whether a fault is for calls of this very name.
    [[nodiscard]] bool hasFaultFor(const std::string& function) const;
    [[nodiscard]] uint64_t callCount() const; ///< calls of this process that began
    void log(const LoggedCall& call);

protected:
    /// A new state is made from the scene; one that the directory holds goes on. A temporary
    /// directory goes with the Mac.
    RunningMac(Scene scene, std::string directory, bool temporary);
    ~RunningMac();

    /// Puts everything back to the scene: arrangement, user defaults, call log.
    void restoreScene();
    [[nodiscard]] CallLog& callLog();
    [[nodiscard]] FaultPlan& faults();
    [[nodiscard]] const FaultPlan& faults() const;

private:
    struct Internals;
    std::unique_ptr<Internals> internals_;
};

} // namespace simulated_mac
