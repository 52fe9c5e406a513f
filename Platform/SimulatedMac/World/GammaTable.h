#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace simulated_mac {

/// Red, green and blue, with one number of entries; each entry is from 0 to 1.
using GammaTable = std::array<std::vector<float>, 3>;

/// The table that changes nothing.
[[nodiscard]] GammaTable linearGamma(std::size_t entries);
/// Whether a table is the linear one, apart from what rounding loses.
[[nodiscard]] bool isLinear(const GammaTable& table);
[[nodiscard]] bool isZero(const GammaTable& table);

/// The same curve in another number of entries, interpolated between its points.
[[nodiscard]] std::vector<float> resampled(std::span<const float> channel, std::size_t entries);
[[nodiscard]] GammaTable resampled(const GammaTable& table, std::size_t entries);

} // namespace simulated_mac
