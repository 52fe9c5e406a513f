#pragma once

#include "SimulatedMac/World/SceneFault.h"

#include <optional>
#include <string>

namespace simulated_mac {

class Field;

/// What is wrong with a fault, and the key of a scene that says it.
struct FaultProblem {
    std::string key;
    std::string problem;
};

/// Holds a fault against the table of simulated calls; nothing when it can apply.
[[nodiscard]] std::optional<FaultProblem> problemOf(const SceneFault& fault);

/// Reads one element of "faults". Throws SceneError.
[[nodiscard]] SceneFault readFault(const Field& field);

} // namespace simulated_mac
