#pragma once

#include "SimulatedMac/World/Scene.h"

#include <string>
#include <vector>

namespace safety {

/// A Mac for the program to run on.
struct Situation {
    std::string name;
    simulated_mac::Scene scene;
};

/// Macs of every kind that matters for switching: one to four displays, the registries of Intel
/// Macs and of Apple silicon, SkyLight whole, in part and not at all, hardware and software
/// mirroring, remembered displays that are off, on again, gone, and not ours, lists that are slow.
[[nodiscard]] const std::vector<Situation>& situations();

} // namespace safety
