#pragma once

#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace simulated_mac {

/// What a person at the desk, and `macsim show`, can tell of a display.
struct DisplayStatus {
    uint32_t id = 0;
    std::string name;
    bool connected = false, enabled = false, online = false, active = false, main = false;
    uint32_t mirrors = 0;
    std::string gamma; ///< "normal", "zero" or "other"
    std::string power; ///< "on" or "standby"
    std::optional<int> brightness;
    bool lit = false;
};

/// One line of the call log.
struct LoggedCall {
    int pid = 0;
    std::string call;
    nlohmann::json args;
    nlohmann::json result;
    nlohmann::json notes;
};

class MacState;

/// The Mac that this process runs on. Without `boot` it is the one of SIMULATED_MAC_SCENE and
/// SIMULATED_MAC_STATE, opened at the first platform call. A Mac that cannot be opened, read or
/// written ends the process with status 2 and one line on standard error.
class Mac {
public:
    static Mac& current();

    /// Puts this process on a new Mac whose state lives in a temporary directory of its own. Call
    /// log, fault counts and ledger start empty. For tests; throws SceneError.
    static Mac& boot(const Scene& scene);
    /// Like `boot` with a scene file's text.
    static Mac& boot(const std::string& sceneText);

    /// Ends the Mac that this process booted, with its temporary directory. For processes that end
    /// by
    /// `_exit`, which nothing else tidies up after.
    static void shutDown();

    Mac(const Mac&) = delete;
    Mac& operator=(const Mac&) = delete;
    ~Mac();

    // From outside: what a person does to the Mac. Unknown IDs throw std::invalid_argument.
    void unplug(uint32_t id);
    void plug(uint32_t id);
    void logOut();
    void reboot();
    /// Puts everything back to the scene: arrangement, user defaults, call log.
    void reset();

    // What a person sees.
    [[nodiscard]] std::vector<DisplayStatus> displays(); ///< in order of ID
    [[nodiscard]] DisplayStatus display(uint32_t id);
    [[nodiscard]] int droppedMessages(uint32_t id); ///< bad DDC/CI messages that its monitor got
    [[nodiscard]] std::vector<LoggedCall> calls();
    void clearCalls();
    [[nodiscard]] nlohmann::json storedDefaults();

    // Faults, beside those of the scene.
    void failCall(const SceneFault& fault); ///< counts from now on
    void clearFaults();
    [[nodiscard]] bool faultFired() const;

    // For the platform functions.
    [[nodiscard]] int serial() const; ///< tells the Macs of one process apart; from 1
    [[nodiscard]] const Scene& scene() const;
    [[nodiscard]] const SceneDisplay* sceneDisplay(uint32_t id) const; ///< null for an unknown ID
    [[nodiscard]] const std::string& stateDirectory() const;
    /// The arrangement as last published by any process.
    [[nodiscard]] const MacState& state();
    /// Changes the arrangement and publishes it, in one step for other processes.
    void change(const std::function<void(MacState&)>& apply);
    void storeDefaults(const nlohmann::json& defaults);
    /// Counts a call; the fault that applies to it, if any.
    [[nodiscard]] std::optional<SceneFault> beginCall(const std::string& function);
    void log(const LoggedCall& call);
    void flushLog();

private:
    Mac(Scene scene, std::string directory, bool temporary);

    struct Internals;
    std::unique_ptr<Internals> internals_;
};

} // namespace simulated_mac
