#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>
#include <vector>

/// The online displays in the window server's order, at most `capacity` of them: active, mirrored
/// and sleeping ones. Absent when the window server reports an error.
[[nodiscard]] std::optional<std::vector<CGDirectDisplayID>> onlineDisplays(std::uint32_t capacity);

/// The active displays, the main one first, at most `capacity` of them. Absent when the window
/// server reports an error.
[[nodiscard]] std::optional<std::vector<CGDirectDisplayID>> activeDisplays(std::uint32_t capacity);
