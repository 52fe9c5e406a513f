#pragma once

#include "Safety/Situations.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace safety {

/// What happens on one Mac, a line each: what the users of two running programs do ("1 off 2",
/// "2 list", "1 quit", "1 killed 7 off 2": when its seventh call has returned), what a third one
/// does that ends with its command line ("3 off 2", "3 self-test"), and what people, hardware and
/// other programs do to it ("unplug 2", "logout"). Anything but the session's end may happen within
/// an operation, when its seventh call has returned ("1 off 2 meanwhile 7 unplug 3").
struct History {
    std::size_t situation = 0; ///< its place in situations()
    std::vector<std::string> steps;
};

/// One of a given length, all by chance: each seed has its own, numbered.
[[nodiscard]] History randomHistory(std::uint64_t seed, std::size_t number, std::size_t length);

/// In one line, and read again. What cannot be read throws std::invalid_argument.
[[nodiscard]] std::string textOf(const History& history);
[[nodiscard]] History historyFrom(const std::string& text);

struct Course {
    std::size_t steps = 0; ///< those that could be taken
    std::string broken;    ///< what went wrong at the last one; empty for nothing
};

/// Lets it happen and holds every step against the promises and rules.
[[nodiscard]] Course carryOut(const History& history);

/// The same failure by fewer steps.
[[nodiscard]] History shrunk(const History& history, const std::string& broken);

} // namespace safety
