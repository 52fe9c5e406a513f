#pragma once

#include <string_view>

/// The mechanisms that switch a display, in their order of preference.
enum class PowerMethod {
    disconnect, ///< soft disconnect through the window server
    ddc,        ///< the monitor's own standby
    blackout,   ///< mirroring and zeroed gamma tables
};

/// The name of a mechanism as the user sees it.
[[nodiscard]] std::string_view title(PowerMethod method);
