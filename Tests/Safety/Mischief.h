#pragma once

#include "SimulatedMac/World/Mac.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace safety {

/// The names of the calls that an operation makes, in order. They live as long as the process.
using CallNames = std::vector<std::string_view>;

/// The names in a text of lines, and those of calls that are made unseen with them. Throws
/// std::invalid_argument for one that no call has.
[[nodiscard]] CallNames callNamesIn(const std::string& lines);

/// Something that goes wrong at one call of an operation: an answer, or what somebody else does to
/// the Mac when it has returned.
struct Mischief {
    struct Event {
        std::size_t calls = 0; ///< that the operation has made by then
        std::string line;      ///< a line of verbs, or `kill`
    };

    std::optional<simulated_mac::SceneFault> fault;
    std::optional<Event> event;

    [[nodiscard]] std::string described() const;
    /// Whether the operation has no end: the session has one, or the program is killed.
    [[nodiscard]] bool endsTheProgram() const;
    /// Lets the event happen now, in the program's own process, of which an end is the end. What
    /// the Mac's state does not allow ends it with status 2.
    void happen(simulated_mac::Mac& mac) const;
};

/// Everything that can go wrong with the call at this place, counted from 1, once and from then on,
/// and after it; 0 is before the first call. How many these are depends on the call's name and the
/// scene alone.
[[nodiscard]] std::vector<Mischief> mischiefAt(const CallNames& calls, std::size_t place,
                                               const simulated_mac::Scene& scene);

} // namespace safety
