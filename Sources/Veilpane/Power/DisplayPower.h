#pragma once

#include "Veilpane/Power/PowerResult.h"

#include <CoreGraphics/CoreGraphics.h>

#include <string>

namespace veilpane {

/// The one operation that switches displays: picks the mechanism and enforces the safety rules.
/// Main thread only; keeps nothing between calls.
namespace DisplayPower {

/// Switches a display on or off and waits until that is done.
///
/// The main display is never switched off, and a soft disconnect is refused unless at least two
/// displays are active. Never throws: failures and fallbacks are told by the result.
[[nodiscard]] PowerResult setPower(bool on, CGDirectDisplayID displayID);

/// One line on the display's state: how it is off or, when it is on, what would switch it off.
[[nodiscard]] std::string statusLine(CGDirectDisplayID displayID);

} // namespace DisplayPower

} // namespace veilpane
