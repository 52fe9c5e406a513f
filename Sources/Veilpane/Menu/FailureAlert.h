#pragma once

#include "Veilpane/Power/PowerResult.h"

#include <CoreGraphics/CoreGraphics.h>

namespace veilpane {

/// Tells the user that a display could not be switched on or off, and waits until the alert is
/// dismissed.
void showAlert(bool on, CGDirectDisplayID displayID, const PowerResult& result);

} // namespace veilpane
