#include "MacProbe/GammaTables.h"

#include <algorithm>
#include <cmath>

namespace macprobe {

namespace {

// A display shows at most 10 bits of a channel.
constexpr float leastStep = 1.0F / 1023;

// What a caller of this program's own kind has room for.
constexpr std::uint32_t usualSize = 256;

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

std::vector<CGGammaValue> inFewerEntries(const std::vector<CGGammaValue>& channel,
                                         std::size_t count) {
    const float step = static_cast<float>(channel.size() - 1) / static_cast<float>(count - 1);
    std::vector<CGGammaValue> fewer;
    for (std::size_t i = 0; i < count; ++i) {
        const float end = static_cast<float>(channel.size() - 1);
        fewer.push_back(valueAt(channel, std::min(static_cast<float>(i) * step, end)));
    }
    return fewer;
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
    return capacity == 0 || capacity > most ? std::nullopt : readGamma(display, capacity);
}

bool setGamma(CGDirectDisplayID display, const GammaTables& tables) {
    return CGSetDisplayTransferByTable(display, tables.size(), tables.red.data(),
                                       tables.green.data(), tables.blue.data()) == kCGErrorSuccess;
}

bool lookAlike(const GammaTables& one, const GammaTables& other) {
    return lookAlike(one.red, other.red) && lookAlike(one.green, other.green) &&
           lookAlike(one.blue, other.blue);
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

ShortReading compareShortReading(const GammaTables& whole, const GammaTables& part) {
    const std::size_t count = part.size();
    if (count < 2 || count >= whole.size()) {
        return ShortReading::unclear;
    }
    const GammaTables first =
        changed(whole, [=](const auto& channel) { return firstEntries(channel, count); });
    const GammaTables fewer =
        changed(whole, [=](const auto& channel) { return inFewerEntries(channel, count); });
    const bool isFirst = lookAlike(part, first);
    if (isFirst == lookAlike(part, fewer)) {
        return ShortReading::unclear;
    }
    return isFirst ? ShortReading::firstEntries : ShortReading::wholeCurve;
}

ShortReading shortReadingOf(CGDirectDisplayID display) {
    const auto whole = readWholeGamma(display);
    if (!whole || whole->size() < 4) {
        return ShortReading::unclear;
    }
    const auto part = readGamma(display, std::min(usualSize, whole->size() / 2));
    return part ? compareShortReading(*whole, *part) : ShortReading::unclear;
}

} // namespace macprobe
