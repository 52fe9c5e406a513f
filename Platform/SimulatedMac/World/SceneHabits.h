#pragma once

#include <cstdint>
#include <optional>

namespace simulated_mac {

/// Habits of a Mac that some Macs have and others do not. Without them it is as predictable as can
/// be.
struct SceneHabits {
    bool permanentIsSession = false; ///< a permanent change is silently one of the session
    bool permanentKeepsAll = false;  ///< a permanent completion keeps the whole arrangement
    bool gammaReloads = false;       ///< tables fall back at a reconfiguration, sleep and wake
    std::optional<uint32_t> gammaExitZeroes; ///< whose tables the end of a process zeroes
    /// How many platform calls long the slow lists show the arrangement from before a change.
    int settleCalls = 0;
    bool onlineStartsWithMain =
        false;           ///< the online list does, instead of keeping the scene's order
    bool session = true; ///< false: as over ssh, without a window server
};

} // namespace simulated_mac
