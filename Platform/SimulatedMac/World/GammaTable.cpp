#include "SimulatedMac/World/GammaTable.h"

#include <algorithm>
#include <cmath>

namespace simulated_mac {
namespace {

/// Well below one step of a table of 16 bits.
constexpr float roundingLoss = 1e-5F;

bool isNear(const std::vector<float>& a, const std::vector<float>& b) {
    return std::ranges::equal(
        a, b, [](float left, float right) { return std::abs(left - right) <= roundingLoss; });
}

float interpolated(std::span<const float> channel, double position) {
    const auto below = static_cast<std::size_t>(position);
    const auto above = std::min(below + 1, channel.size() - 1);
    const auto part = static_cast<float>(position - static_cast<double>(below));
    return channel[below] + (channel[above] - channel[below]) * part;
}

} // namespace

GammaTable linearGamma(std::size_t entries) {
    std::vector<float> ramp(entries);
    for (std::size_t i = 0; i < entries; ++i) {
        ramp[i] = static_cast<float>(i) / static_cast<float>(entries - 1);
    }
    return {ramp, ramp, ramp};
}

bool isLinear(const GammaTable& table) {
    return std::ranges::equal(table, linearGamma(table[0].size()), isNear);
}

bool isZero(const GammaTable& table) {
    return std::ranges::all_of(table, [](const std::vector<float>& channel) {
        return std::ranges::all_of(channel, [](float entry) { return entry == 0; });
    });
}

std::vector<float> resampled(std::span<const float> channel, std::size_t entries) {
    if (channel.size() == entries) {
        return {channel.begin(), channel.end()};
    }
    std::vector<float> result(entries);
    if (channel.empty() || entries == 0) {
        return result;
    }
    const double step =
        entries == 1 ? 0
                     : static_cast<double>(channel.size() - 1) / static_cast<double>(entries - 1);
    for (std::size_t i = 0; i < entries; ++i) {
        result[i] = interpolated(channel, std::min(static_cast<double>(i) * step,
                                                   static_cast<double>(channel.size() - 1)));
    }
    return result;
}

GammaTable resampled(const GammaTable& table, std::size_t entries) {
    return {resampled(table[0], entries), resampled(table[1], entries),
            resampled(table[2], entries)};
}

} // namespace simulated_mac
