#include "MacProbe/GammaTables.h"

#include <algorithm>
#include <cmath>

namespace macprobe {

namespace {

// A display shows at most 10 bits of a channel.
constexpr float leastStep = 1.0F / 1023;

bool lookAlike(const std::vector<CGGammaValue>& one, const std::vector<CGGammaValue>& other) {
    return std::ranges::equal(one, other, [](CGGammaValue left, CGGammaValue right) {
        return std::abs(left - right) <= leastStep;
    });
}

std::vector<CGGammaValue> firstEntries(const std::vector<CGGammaValue>& channel,
                                       std::size_t count) {
    return {channel.begin(), channel.begin() + static_cast<std::ptrdiff_t>(count)};
}

// The curve through the entries, read off at other places.
CGGammaValue valueAt(const std::vector<CGGammaValue>& channel, float place) {
    const auto before = static_cast<std::size_t>(place);
    const std::size_t after = std::min(before + 1, channel.size() - 1);
    const float share = place - static_cast<float>(before);
    return channel[before] * (1 - share) + channel[after] * share;
}

std::vector<CGGammaValue> inEntries(const std::vector<CGGammaValue>& channel, std::size_t count) {
    const auto end = static_cast<float>(channel.size() - 1);
    const float step = count < 2 ? 0 : end / static_cast<float>(count - 1);
    std::vector<CGGammaValue> entries;
    for (std::size_t i = 0; i < count; ++i) {
        entries.push_back(valueAt(channel, std::min(static_cast<float>(i) * step, end)));
    }
    return entries;
}

template <class Change>
GammaTables changed(const GammaTables& tables, const Change& change) {
    return {change(tables.red), change(tables.green), change(tables.blue)};
}

} // namespace

std::optional<GammaTables> readGamma(CGDirectDisplayID display, std::uint32_t capacity) {
    const std::vector<CGGammaValue> room(capacity, 0);
    GammaTables tables{room, room, room};
    std::uint32_t count = 0;
    if (CGGetDisplayTransferByTable(display, capacity, tables.red.data(), tables.green.data(),
                                    tables.blue.data(), &count) != kCGErrorSuccess) {
        return std::nullopt;
    }
    const std::size_t written = std::min(count, capacity);
    return changed(tables, [=](const auto& channel) { return firstEntries(channel, written); });
}

std::optional<GammaTables> readWholeGamma(CGDirectDisplayID display) {
    const std::uint32_t capacity = CGDisplayGammaTableCapacity(display);
    constexpr std::uint32_t most = 1U << 16U;
    auto tables = capacity == 0 || capacity > most ? std::nullopt : readGamma(display, capacity);
    return tables && tables->size() < 2 ? std::nullopt : tables;
}

bool setGamma(CGDirectDisplayID display, const GammaTables& tables) {
    return CGSetDisplayTransferByTable(display, tables.size(), tables.red.data(),
                                       tables.green.data(), tables.blue.data()) == kCGErrorSuccess;
}

bool lookAlike(const GammaTables& one, const GammaTables& other) {
    return lookAlike(one.red, other.red) && lookAlike(one.green, other.green) &&
           lookAlike(one.blue, other.blue);
}

GammaTables firstEntries(const GammaTables& tables, std::size_t count) {
    return changed(tables, [=](const auto& channel) {
        return firstEntries(channel, std::min(count, channel.size()));
    });
}

GammaTables inEntries(const GammaTables& tables, std::size_t count) {
    return changed(tables, [=](const auto& channel) { return inEntries(channel, count); });
}

bool areBlack(const GammaTables& tables) {
    const std::vector<CGGammaValue> black(tables.size(), 0);
    return lookAlike(tables, {black, black, black});
}

GammaTables dimmedTables(std::uint32_t size) {
    constexpr float brightest = 0.8F;
    std::vector<CGGammaValue> channel;
    for (std::uint32_t i = 0; i < size; ++i) {
        const float place = static_cast<float>(i) / static_cast<float>(size - 1);
        channel.push_back(brightest * place * place);
    }
    return {channel, channel, channel};
}

} // namespace macprobe
