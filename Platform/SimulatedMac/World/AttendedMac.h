#pragma once

#include "SimulatedMac/World/CallLog.h"
#include "SimulatedMac/World/RunningMac.h"

#include <cstdint>
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

/// The Mac with a person before it, who sees its displays and does something to it from outside.
class AttendedMac : public RunningMac {
public:
    static AttendedMac& current();

    // What a person does. Unknown IDs throw std::invalid_argument.
    void unplug(uint32_t id);
    void plug(uint32_t id);
    void logOut();
    void reboot();
    /// Puts everything back to the scene: arrangement, user defaults, call log.
    void reset();

    // What a person sees. Unknown IDs throw std::invalid_argument.
    [[nodiscard]] std::vector<DisplayStatus> displays(); ///< in order of ID
    [[nodiscard]] DisplayStatus display(uint32_t id);
    [[nodiscard]] int droppedMessages(uint32_t id); ///< bad DDC/CI messages that its monitor got
    [[nodiscard]] std::vector<LoggedCall> calls();
    void clearCalls();

protected:
    using RunningMac::RunningMac;
    ~AttendedMac() = default;
};

} // namespace simulated_mac
