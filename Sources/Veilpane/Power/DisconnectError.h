#pragma once

#include <cstdint>
#include <string>

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
