#pragma once

#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/Scene.h"

namespace simulated_mac {

/// Reads the scene's "events". Throws SceneError.
[[nodiscard]] std::vector<SceneEvent> readEvents(const Field& field);

/// Requires that the events can happen to the Mac of the scene. Throws SceneError.
void checkEvents(const Scene& scene, const Field& events);

} // namespace simulated_mac
