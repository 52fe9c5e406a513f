#pragma once

#include "Safety/Mischief.h"

#include <string>
#include <vector>

namespace safety {

/// The rules that are broken, a line each, without those that are because the Mac has lied in a way
/// that the known limits tell of.
[[nodiscard]] std::string withoutKnownLimits(const std::string& lines,
                                             const std::vector<Mischief>& wrong,
                                             const simulated_mac::Scene& scene);

} // namespace safety
