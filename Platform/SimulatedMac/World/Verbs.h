#pragma once

#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace simulated_mac {

class AttendedMac;

/// A verb with its operands: `unplug 3`.
using Words = std::vector<std::string>;

/// A line of verbs that cannot be done. The text is one line that names the verb or the display.
class VerbError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Something that happens to a Mac from outside: a person, or another program, does it.
struct OutsideAction {
    std::vector<uint32_t> displays; ///< the IDs that it names, which the Mac must have
    std::optional<uint32_t> newID;  ///< an ID that a display has afterwards
    bool needsBuiltin = false;      ///< nothing for a Mac without a built-in display
    /// Does it. The text is what there is to tell about it, as lines, mostly none. Throws
    /// std::exception, with nothing done, where the Mac's state does not allow it.
    std::function<std::string(AttendedMac&)> carryOut;
};

/// Whether a line that starts with this word is for `parseVerb`.
[[nodiscard]] bool isVerb(const std::string& word);

/// Reads a line of verbs, at least one word. Throws VerbError.
[[nodiscard]] OutsideAction parseVerb(const Words& words);

[[nodiscard]] Words wordsOf(const std::string& line);

/// Throws VerbError for an action that no state of this Mac allows: it names a display that is not
/// one of the scene, nor has a display got one of the further IDs by then.
void requirePossible(const OutsideAction& action, const Scene& scene,
                     const std::set<uint32_t>& furtherIDs);

} // namespace simulated_mac
