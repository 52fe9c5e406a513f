#pragma once

#include "SimulatedMac/World/Mac.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace safety {

/// The gamma tables of red, green and blue; empty when they cannot be read.
using Tables = std::array<std::vector<float>, 3>;

/// Whether they show the same; longer ones that went through 256 entries differ by roundings.
[[nodiscard]] bool areAlike(const Tables& some, const Tables& others);

/// What a person sees of a display, and what another program could ask about it.
struct Sight {
    bool connected = false, enabled = false, main = false, lit = false, asleep = false;
    bool online = false; ///< follows from the others, of all displays
    std::uint32_t mirrors = 0;
    bool standby = false;
    std::optional<int> brightness;
    Tables tables;

    bool operator==(const Sight&) const = default;
    [[nodiscard]] bool isBlack() const;
};

/// In what two sights differ, in words; empty for nothing.
[[nodiscard]] std::string differenceOf(const Sight& before, const Sight& after);

/// The Mac as it stands before a person, with what is stored for the program.
struct Desk {
    std::map<std::uint32_t, Sight> displays;
    std::set<std::uint32_t> stored; ///< the remembered displays

    [[nodiscard]] const Sight& at(std::uint32_t id) const { return displays.at(id); }
    [[nodiscard]] std::size_t litDisplays() const;
};

/// Whether the display was one that another mirrors, and is online no longer.
[[nodiscard]] bool lostMaster(const Desk& before, const Desk& after, std::uint32_t id);

/// Looks without leaving a trace in the call log.
[[nodiscard]] Desk lookAt(simulated_mac::Mac& mac);

/// Gives every display tables of its own, other ones for each channel, as a calibration does. They
/// last as long as this process.
void calibrate(simulated_mac::Mac& mac);

} // namespace safety
