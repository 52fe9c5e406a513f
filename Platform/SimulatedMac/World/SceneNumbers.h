#pragma once

#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <vector>

namespace simulated_mac {

/// Gives the displays of `scene` the IDs that they have now, in the order of the displays: their
/// own, those that they mirror, and the whole numbers `DisplayID` of the registry. `given` is the
/// scene as it was read. Every node of the registry stays where it is in memory.
void renumber(Scene& scene, const Scene& given, const std::vector<uint32_t>& ids);

} // namespace simulated_mac
