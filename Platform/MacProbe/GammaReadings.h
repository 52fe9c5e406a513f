#pragma once

#include "MacProbe/Answers.h"
#include "MacProbe/GammaTables.h"

#include <cstdint>
#include <vector>

namespace macprobe {

/// What of a display's curve a reading gives.
enum class Curve {
    whole,
    firstEntries,
    unclear, ///< both would look alike
    another,
    none, ///< the reading fails, or gives no entry
};

/// What a caller with room for so many entries gets of a display whose tables have `capacity`.
struct GammaReading {
    std::uint32_t room = 0;
    std::uint32_t capacity = 0;
    std::uint32_t entries = 0;
    Curve curve = Curve::none;
};

/// Reads with room for 2, 64 and 256 entries, for as many as there are, and for twice as many.
/// Nothing when the tables cannot be read, or are changed by somebody meanwhile.
[[nodiscard]] std::vector<GammaReading> readAtSeveralSizes(CGDirectDisplayID display);

/// Whether a reading with less room than there are entries gives the first ones alone.
[[nodiscard]] bool giveFirstEntries(const std::vector<GammaReading>& readings);

/// On gamma-short-read; what is seen tells what each reading gave.
[[nodiscard]] Answer answerOn(const std::vector<GammaReading>& readings);

} // namespace macprobe
