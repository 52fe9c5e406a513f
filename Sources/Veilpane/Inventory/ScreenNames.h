#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <optional>
#include <string>

namespace veilpane {

/// The name that the screen list has for a display; absent when the display has no screen or the
/// screen no name.
[[nodiscard]] std::optional<std::string> screenName(CGDirectDisplayID displayID);

} // namespace veilpane
