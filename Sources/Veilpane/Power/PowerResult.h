#pragma once

#include <string>
#include <string_view>

namespace veilpane {

/// The mechanisms that switch a display, in their order of preference.
enum class PowerMethod {
    disconnect, ///< soft disconnect through the window server
    ddc,        ///< the monitor's own standby
    blackout,   ///< mirroring and zeroed gamma tables
};

/// The name of a mechanism as the user sees it.
[[nodiscard]] std::string_view title(PowerMethod method);

/// The outcome of switching a display.
struct PowerResult {
    PowerMethod method;  ///< the mechanism that acted or refused
    bool success;        ///< the display reached the wanted state, or was in it already
    std::string message; ///< the user-facing outcome

    bool operator==(const PowerResult&) const = default;
};

} // namespace veilpane
