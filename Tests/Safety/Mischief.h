#pragma once

#include "SimulatedMac/World/Mac.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace safety {

/// Something that goes wrong at one call of an operation: an answer, or what somebody else does to
/// the Mac at that moment.
struct Mischief {
    struct Event {
        std::string call;
        int nth = 1;
        bool before = true;
        std::string line; ///< a line of verbs
    };

    std::optional<simulated_mac::SceneFault> fault;
    std::optional<Event> event;
    /// Whether the program is told something that is not so, or the Mac changes under its hands.
    bool misleads = false;

    [[nodiscard]] std::string described() const;
    void plan(simulated_mac::Mac& mac) const;
};

/// Everything that can go wrong at the `nth` call of the function, once and from then on, on a Mac
/// of that many displays.
[[nodiscard]] std::vector<Mischief> mischiefAt(const std::string& call, int nth,
                                               const simulated_mac::Scene& scene);

} // namespace safety
