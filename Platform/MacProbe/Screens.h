#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <map>
#include <string>

namespace macprobe {

/// The names of all screens by display; an empty one for a screen without. In a process that runs
/// no event loop they stay those of the first time.
[[nodiscard]] std::map<CGDirectDisplayID, std::string> screenNames();

} // namespace macprobe
