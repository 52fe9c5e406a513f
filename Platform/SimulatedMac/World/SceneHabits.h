#pragma once

#include <cstdint>
#include <optional>

namespace simulated_mac {

/// Which display of a mirror set is the main one where the set has it.
enum class MirrorMain {
    asDocumented, ///< the master, by software the largest
    master,
    largest,
};

/// Habits of a Mac that some Macs have and others do not. Without them it is as predictable as can
/// be.
struct SceneHabits {
    bool permanentIsSession = false; ///< a permanent change is silently one of the session
    bool permanentKeepsAll = false;  ///< a permanent completion keeps the whole arrangement
    bool gammaReloads = false;       ///< tables fall back at a reconfiguration, sleep and wake
    std::optional<uint32_t> gammaExitZeroes; ///< whose tables the end of a process zeroes
    bool gammaOutlivesProcess = false;       ///< tables stay when their process ends
    bool gammaOutlivesDisabling = false;     ///< tables are there again with their display
    MirrorMain mirrorMain = MirrorMain::asDocumented;
    /// How many platform calls long the slow lists show the arrangement from before a change.
    int settleCalls = 0;
    bool onlineStartsWithMain =
        false;           ///< the online list does, instead of keeping the scene's order
    bool session = true; ///< false: as over ssh, without a window server
};

} // namespace simulated_mac
