#pragma once

#include "SimulatedMac/World/Scene.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace safety {

/// A Mac for the program to run on.
struct Situation {
    std::string name;
    simulated_mac::Scene scene;
    /// The displays that operations are about: the main one, the one that is switched most, and two
    /// more; an ID that no display has, where there are fewer.
    std::array<std::uint32_t, 4> displays = {1, 2, 3, 4};
};

/// Macs of every kind that matters for switching: one to four displays, the registries of Intel
/// Macs and of Apple silicon, SkyLight whole, in part and not at all, hardware and software
/// mirroring, remembered displays that are off, on again, gone, and not ours, lists that are slow,
/// properties of wrong types, names from the profiler.
/// After these come the scenes of Tests/Scenes, by the names of their files.
[[nodiscard]] const std::vector<Situation>& situations();

} // namespace safety
