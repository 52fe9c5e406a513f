#include "Veilpane/WindowServer/DisplayLists.h"

#include "Veilpane/WindowServer/SkyLight.h"

#include <algorithm>

namespace veilpane {

namespace {

using ListFunction = CGError (*)(std::uint32_t, CGDirectDisplayID*, std::uint32_t*);

std::optional<std::vector<CGDirectDisplayID>> listed(ListFunction list, std::uint32_t capacity) {
    std::vector<CGDirectDisplayID> displays(capacity, kCGNullDirectDisplay);
    std::uint32_t count = 0;
    if (list(capacity, displays.data(), &count) != kCGErrorSuccess) {
        return std::nullopt;
    }
    displays.resize(std::min(count, capacity));
    return displays;
}

// 0 when SkyLight cannot tell, or tells of more displays than are believable.
std::uint32_t knownDisplayCount(SkyLight::GetDisplayList getDisplayList) {
    std::uint32_t count = 0;
    const bool counted = getDisplayList(0, nullptr, &count) == kCGErrorSuccess;
    return counted && count <= mostKnownDisplays ? count : 0;
}

} // namespace

std::optional<std::vector<CGDirectDisplayID>> onlineDisplays(std::uint32_t capacity) {
    return listed(CGGetOnlineDisplayList, capacity);
}

std::optional<std::vector<CGDirectDisplayID>> activeDisplays(std::uint32_t capacity) {
    return listed(CGGetActiveDisplayList, capacity);
}

std::optional<std::vector<CGDirectDisplayID>> knownDisplays() {
    const auto getDisplayList = SkyLight::getDisplayList();
    const std::uint32_t capacity =
        getDisplayList == nullptr ? 0 : knownDisplayCount(getDisplayList);
    if (capacity == 0) {
        return std::nullopt;
    }
    std::vector<CGDirectDisplayID> displays(capacity, kCGNullDirectDisplay);
    std::uint32_t count = capacity;
    if (getDisplayList(capacity, displays.data(), &count) != kCGErrorSuccess) {
        return std::vector<CGDirectDisplayID>();
    }
    displays.resize(std::min(count, capacity));
    return displays;
}

} // namespace veilpane
