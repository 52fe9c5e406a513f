#pragma once

#include "SimulatedMac/World/AttendedMac.h"

#include <string>
#include <vector>

namespace simulated_mac {

/// A place in the picture, in points from its upper left corner.
struct PictureRect {
    double x = 0, y = 0, width = 0, height = 0;
};

/// Where the displays stand on the desk: in order, in rows of four at most.
struct DeskLayout {
    double width = 0, height = 0; ///< of the picture, in points
    std::vector<PictureRect> screens;
};

/// The picture has this many pixels for a point.
constexpr int deskPixelsPerPoint = 2;

[[nodiscard]] DeskLayout layOutDesk(std::size_t displayCount);

/// Draws what a person sees who sits at the Mac's desk. Throws std::runtime_error, and leaves no
/// file of that name behind, when the PNG cannot be written.
void drawDesk(const std::vector<DisplayStatus>& displays, const Scene& scene,
              const std::string& file);

} // namespace simulated_mac
