#pragma once

#include <span>
#include <string_view>

namespace macprobe {

/// How it can be found out whether a Mac keeps a rule.
enum class SettledBy {
    looking,
    switching, ///< one display, for some seconds
    hand,      ///< something that a person does or sees, or nothing that can be made to happen
};

/// A rule of the simulated Mac that no document of Apple's settles. The simulated Mac's README has
/// the same names.
struct Assumption {
    std::string_view name;
    std::string_view rule;
    std::string_view source;
    std::string_view dependent; ///< what of the program rests on it
    SettledBy settledBy;
};

/// All of them, in the order of the README.
[[nodiscard]] std::span<const Assumption> assumptions();

} // namespace macprobe
