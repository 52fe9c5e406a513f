#pragma once

#include "SimulatedMac/World/Scene.h"

#include <vector>

namespace simulated_mac {

/// The part of the I/O registry that displays have on a Mac of one kind, shaped as dumps of real
/// Macs show it. A bus leads to the display behind it, or nowhere.
[[nodiscard]] std::vector<RegistryNode> hardwareRegistry(Hardware hardware,
                                                         const std::vector<SceneDisplay>& displays);

} // namespace simulated_mac
