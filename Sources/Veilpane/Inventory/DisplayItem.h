#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <string>

namespace veilpane {

/// One listed display. Two records with the same `id` describe the same display.
struct DisplayItem {
    CGDirectDisplayID id;
    std::string name;    ///< UTF-8, never empty
    bool isBuiltIn;      ///< a laptop's own panel
    bool isMain;         ///< the display with the menu bar
    bool isMirrorSlave;  ///< in a mirror set, and not as its main display
    bool isDisconnected; ///< soft-disconnected by this program
};

} // namespace veilpane
