#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <set>

namespace veilpane {

/// The disconnected displays in the user defaults. None when nothing is stored, or anything but an
/// array of display IDs.
[[nodiscard]] std::set<CGDirectDisplayID> readStoredDisplays();

/// Stores the displays, in order of ID, in the place of those stored so far.
void storeDisplays(const std::set<CGDirectDisplayID>& displays);

} // namespace veilpane
