#pragma once

#include "SimulatedMac/World/StateStore.h"

#include <nlohmann/json.hpp>
#include <string>

namespace simulated_mac {

/// The version of state.json that this simulated Mac writes, and the only one that it reads.
constexpr int stateVersion = 1;

/// state.json, with the texts and objects that every state has; null when there is none. Throws
/// InputError for what is no state.
[[nodiscard]] nlohmann::json readState(const StateStore& store);

} // namespace simulated_mac
