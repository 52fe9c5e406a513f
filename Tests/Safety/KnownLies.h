#pragma once

#include "Safety/Mischief.h"

#include <string>
#include <vector>

namespace safety {

/// Whether a rule is broken because the Mac has lied in a way that the known limits tell of.
[[nodiscard]] bool isKnownLimit(const std::vector<Mischief>& wrong, const std::string& broken);

} // namespace safety
