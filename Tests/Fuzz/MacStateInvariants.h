#pragma once

#include "SimulatedMac/World/MacState.h"

namespace veilpane::fuzz {

/// Ends the process unless the state's lists, its main display and its mirror sets fit together,
/// and the state reads again as it is written.
void requireConsistent(const simulated_mac::MacState& state, const simulated_mac::Scene& scene);

} // namespace veilpane::fuzz
