#pragma once

#include "Scene.h"

#include <cstdint>
#include <optional>
#include <span>
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

/// The Mac that this process runs on. Without `boot` it is the one of SIMULATED_MAC_SCENE and
/// SIMULATED_MAC_STATE, opened at the first platform call.
class Mac {
public:
    static Mac& current();

    /// Puts this process on a new Mac whose state lives in a temporary directory of its own. Call log,
    /// fault counts and ledger start empty. For tests.
    static Mac& boot(const Scene& scene);
    /// Like `boot` with a scene file's text.
    static Mac& boot(const std::string& sceneText);

    // From outside: what a person does to the Mac. Unknown IDs throw std::invalid_argument.
    void unplug(uint32_t id);
    void plug(uint32_t id);
    void logOut();
    void reboot();

    // What a person sees.
    [[nodiscard]] std::vector<DisplayStatus> displays();
    [[nodiscard]] DisplayStatus display(uint32_t id);
    [[nodiscard]] std::vector<LoggedCall> calls();
    void clearCalls();

    // Faults, beside those of the scene; `failCall` counts from now on.
    void failCall(const SceneFault& fault);
    void clearFaults();
    [[nodiscard]] bool faultFired() const;

    // For the platform functions.
    [[nodiscard]] const Scene& scene() const;
    /// The scene's registry, or the one that its displays imply.
    [[nodiscard]] const std::vector<RegistryNode>& registry() const;
    /// The directory that holds state, user defaults and the call log.
    [[nodiscard]] std::string stateDirectory() const;
    /// A message that reached the monitor of display `id`: obeyed, or dropped and counted when it is
    /// no valid DDC/CI message.
    void monitorReceives(uint32_t id, uint32_t address, std::span<const uint8_t> bytes);
    [[nodiscard]] int droppedMessages(uint32_t id);
    [[nodiscard]] std::optional<uint32_t> mainDisplay();
    [[nodiscard]] std::vector<uint32_t> onlineDisplays();
    [[nodiscard]] std::vector<uint32_t> activeDisplays();
};

} // namespace simulated_mac
