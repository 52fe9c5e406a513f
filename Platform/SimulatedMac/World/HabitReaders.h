#pragma once

#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/Scene.h"

namespace simulated_mac {

/// The scene's keys that are about habits. The readers write to `habits`, which outlives them.
[[nodiscard]] Field::Readers habitReaders(SceneHabits& habits);

/// Requires that the habits fit the displays. Throws SceneError.
void checkHabits(const Scene& scene, const Field& root);

} // namespace simulated_mac
