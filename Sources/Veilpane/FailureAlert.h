#pragma once

#include "Veilpane/PowerResult.h"

#include <CoreGraphics/CoreGraphics.h>

/// Tells the user that a display could not be switched, and waits until that was dismissed.
void showFailureAlert(bool wantedOn, CGDirectDisplayID displayID, const PowerResult& result);
