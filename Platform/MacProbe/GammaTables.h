#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace macprobe {

/// A display's tables for red, green and blue, all of one length.
struct GammaTables {
    std::vector<CGGammaValue> red, green, blue;

    bool operator==(const GammaTables&) const = default;
    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(red.size()); }
};

/// What a caller with room for so many entries gets; absent when the tables cannot be read.
[[nodiscard]] std::optional<GammaTables> readGamma(CGDirectDisplayID display,
                                                   std::uint32_t capacity);

/// The display's own tables in their full length, of two entries at least; absent when they cannot
/// be read.
[[nodiscard]] std::optional<GammaTables> readWholeGamma(CGDirectDisplayID display);

/// Whether CoreGraphics reports success.
bool setGamma(CGDirectDisplayID display, const GammaTables& tables);

/// Whether no entry differs by more than a display can show.
[[nodiscard]] bool lookAlike(const GammaTables& one, const GammaTables& other);

/// The first so many entries, of those that there are.
[[nodiscard]] GammaTables firstEntries(const GammaTables& tables, std::size_t count);

/// The same curves in so many entries.
[[nodiscard]] GammaTables inEntries(const GammaTables& tables, std::size_t count);

[[nodiscard]] bool areBlack(const GammaTables& tables);

/// Darker than usual, and more so in the middle, so that a part of it looks like no other part.
[[nodiscard]] GammaTables dimmedTables(std::uint32_t size);

} // namespace macprobe
