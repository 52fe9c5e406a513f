#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <expected>
#include <set>
#include <string>
#include <vector>

namespace veilpane {

/// Why a soft disconnect or reconnect did not happen.
struct DisconnectError {
    enum class Reason {
        configFailed, ///< the display configuration failed; `code` is its CGError
        slsFailed,    ///< SkyLight refused the change; `code` is its CGError
        unavailable,  ///< this macOS has no SLSConfigureDisplayEnabled
        wouldLeaveNoDisplay,
        mainDisplayForbidden,
    };

    Reason reason;
    std::int32_t code = 0;

    /// The user-facing text.
    [[nodiscard]] std::string description() const;

    bool operator==(const DisconnectError&) const = default;
};

/// Switches a display off and on in the window server itself, as if it were unplugged, and
/// remembers across restarts which displays this program disconnected.
///
/// No guard is applied here: keeping the main display and the last active one on is the caller's
/// job. Main thread only.
namespace DisplayDisconnect {

/// Enables or disables a display. What is remembered changes only when the window server accepted.
[[nodiscard]] std::expected<void, DisconnectError> setEnabled(bool enabled,
                                                              CGDirectDisplayID displayID);

/// Every display that the window server knows, disconnected ones included; the online displays
/// where it cannot be asked for that.
[[nodiscard]] std::vector<CGDirectDisplayID> allDisplayIDs();

/// The window server knows the display but does not report it online, whoever disconnected it.
[[nodiscard]] bool isSoftDisconnected(CGDirectDisplayID displayID);

/// The displays that this program disconnected and that are still off. Forgets the others until the
/// program ends; what is stored follows with the next successful `setEnabled`.
[[nodiscard]] std::set<CGDirectDisplayID> ourDisconnectedIDs();

/// This program disconnected the display, and it is still off.
[[nodiscard]] bool isDisconnectedByUs(CGDirectDisplayID displayID);

} // namespace DisplayDisconnect

} // namespace veilpane
