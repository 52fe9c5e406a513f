#pragma once

#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/StateStore.h"

#include <nlohmann/json.hpp>

namespace simulated_mac {

/// Throws InputError for what are no user defaults: an object of what property lists can hold.
void checkDefaults(const Field& defaults);

/// defaults.json; an empty object when there is none. Throws InputError for what are no user
/// defaults.
[[nodiscard]] nlohmann::json readDefaults(const StateStore& store);

} // namespace simulated_mac
