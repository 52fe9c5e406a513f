#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <array>
#include <cstdint>
#include <vector>

namespace macprobe {

/// More than any Mac drives.
constexpr std::uint32_t mostDisplays = 63;

using DisplayIDs = std::vector<CGDirectDisplayID>;

[[nodiscard]] bool contains(const DisplayIDs& displays, CGDirectDisplayID display);

/// What the window server lists of displays at one moment. A list that cannot be asked for is
/// empty.
struct DisplayListing {
    DisplayIDs online;
    DisplayIDs active;
    DisplayIDs known; ///< SkyLight's, disabled ones included

    /// The known ones, and those that are online without being known.
    [[nodiscard]] DisplayIDs all() const;
};

[[nodiscard]] DisplayListing listDisplays();

/// What is said where no display is online to ask about.
constexpr const char* nothingOnline =
    "no display is online; run it in Terminal on the Mac's own desktop, not over ssh";

/// An ID that no list has.
[[nodiscard]] CGDirectDisplayID unusedID(const DisplayListing& listing);

/// The main one of the online displays; kCGNullDirectDisplay when none says so.
[[nodiscard]] CGDirectDisplayID mainDisplay(const DisplayListing& listing);

/// A question that CoreGraphics answers about a display.
struct Question {
    const char* name;
    boolean_t (*ask)(CGDirectDisplayID display);
};

[[nodiscard]] const std::array<Question, 5>& questions();

} // namespace macprobe
