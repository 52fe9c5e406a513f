#pragma once

#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <functional>
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
    /// Does it. The text is what there is to tell about it, as lines, mostly none. Throws
    /// std::exception, with nothing done, where the Mac's state does not allow it.
    std::function<std::string(AttendedMac&)> carryOut;
};

/// Whether a line that starts with this word is for `parseVerb`.
[[nodiscard]] bool isVerb(const std::string& word);

/// Reads a line of verbs, at least one word. Throws VerbError.
[[nodiscard]] OutsideAction parseVerb(const Words& words);

[[nodiscard]] Words wordsOf(const std::string& line);

/// Throws VerbError for an action that no state of this Mac allows: it names an unknown display.
void requirePossible(const OutsideAction& action, const Scene& scene);

} // namespace simulated_mac
