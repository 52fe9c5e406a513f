#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace veilpane {

// A list is asked for at most so many displays; those beyond are not looked at. Each number is
// above what any Mac drives.

/// For what is listed, and for telling whether a display is online: with a smaller one, a display
/// that the inventory has could be taken for a disconnected one.
constexpr std::uint32_t inventoryCapacity = 32;

/// For choosing a mirror master, counting the displays that stay on, and ending mirrors.
constexpr std::uint32_t switchingCapacity = 16;

/// SkyLight says itself how many it knows; a larger number is taken for nonsense, as memory of that
/// size is asked for.
constexpr std::uint32_t mostKnownDisplays = 63;

/// The online displays in the window server's order, at most `capacity` of them: active, mirrored
/// and sleeping ones. Absent when the window server reports an error.
[[nodiscard]] std::optional<std::vector<CGDirectDisplayID>> onlineDisplays(std::uint32_t capacity);

/// The active displays, the main one first, at most `capacity` of them. Absent when the window
/// server reports an error.
[[nodiscard]] std::optional<std::vector<CGDirectDisplayID>> activeDisplays(std::uint32_t capacity);

/// Every display that the window server knows, disabled ones included. Absent when SkyLight cannot
/// be asked or counts none; empty when it has counted them and then fails to list them.
[[nodiscard]] std::optional<std::vector<CGDirectDisplayID>> knownDisplays();

} // namespace veilpane
