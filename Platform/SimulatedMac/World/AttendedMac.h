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
    bool asleep = false; ///< the Mac's displays are, or its lid is closed
    bool lit = false;
};

/// The Mac with a person before it, who sees its displays and does something to it from outside.
class AttendedMac : public RunningMac {
public:
    static AttendedMac& current();

    // What a person does. Unknown IDs throw std::invalid_argument.
    void unplug(uint32_t id);
    void plug(uint32_t id);
    /// Plugs it in anew under another ID, which no display that is plugged in may have.
    void plugAs(uint32_t id, uint32_t newID);
    void sleep(); ///< the displays
    void wake();
    void closeLid(); ///< throws std::invalid_argument without a built-in display
    void openLid();
    /// Ends the session: first of all the processes that run on this Mac, this one excepted, unless
    /// it happens within a call of this process. Then this one ends, too.
    void logOut();
    void reboot(); ///< ends the processes as `logOut` does
    /// Like `reboot`; each display gets the ID of the next one in the scene.
    void rebootRenumbered();
    /// Puts everything back to the scene: arrangement, user defaults, call log.
    void reset();

    // What another program does, as System Settings would: permanently. The displays must be
    // online, one that is enabled plugged in.
    void enable(uint32_t id);
    void disable(uint32_t id);
    void makeMain(uint32_t id);
    /// Master 0 ends it. The master must be another display.
    void mirror(uint32_t id, uint32_t master);

    // What a person sees. Unknown IDs throw std::invalid_argument.
    [[nodiscard]] std::vector<DisplayStatus> displays(); ///< in order of ID
    [[nodiscard]] DisplayStatus display(uint32_t id);
    [[nodiscard]] int droppedMessages(uint32_t id); ///< bad DDC/CI messages that its monitor got
    [[nodiscard]] std::vector<LoggedCall> calls();
    void clearCalls();

protected:
    using RunningMac::RunningMac;
    ~AttendedMac() = default;

private:
    void endSession(const std::function<void(MacState&)>& apply);
};

} // namespace simulated_mac
