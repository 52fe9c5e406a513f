#include "Veilpane/WindowServer/DisplayLists.h"

#include <algorithm>

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

} // namespace

std::optional<std::vector<CGDirectDisplayID>> onlineDisplays(std::uint32_t capacity) {
    return listed(CGGetOnlineDisplayList, capacity);
}

std::optional<std::vector<CGDirectDisplayID>> activeDisplays(std::uint32_t capacity) {
    return listed(CGGetActiveDisplayList, capacity);
}
