#include "MacProbe/DisplayFacts.h"

#include "Veilpane/WindowServer/DisplayLists.h"

#include <algorithm>

namespace macprobe {

bool contains(const DisplayIDs& displays, CGDirectDisplayID display) {
    return std::ranges::find(displays, display) != displays.end();
}

DisplayIDs DisplayListing::all() const {
    DisplayIDs displays = known;
    std::ranges::copy_if(online, std::back_inserter(displays),
                         [this](CGDirectDisplayID display) { return !contains(known, display); });
    return displays;
}

DisplayListing listDisplays() {
    return {veilpane::onlineDisplays(mostDisplays).value_or(DisplayIDs()),
            veilpane::activeDisplays(mostDisplays).value_or(DisplayIDs()),
            veilpane::knownDisplays().value_or(DisplayIDs())};
}

CGDirectDisplayID unusedID(const DisplayListing& listing) {
    const DisplayIDs taken = listing.all();
    CGDirectDisplayID display = 0x7E57AB1E;
    while (contains(taken, display)) {
        ++display;
    }
    return display;
}

CGDirectDisplayID mainDisplay(const DisplayListing& listing) {
    const auto main = std::ranges::find_if(
        listing.online, [](CGDirectDisplayID display) { return CGDisplayIsMain(display) != 0; });
    return main == listing.online.end() ? kCGNullDirectDisplay : *main;
}

const std::array<Question, 5>& questions() {
    static constexpr std::array<Question, 5> all = {{
        {"CGDisplayIsActive", CGDisplayIsActive},
        {"CGDisplayIsOnline", CGDisplayIsOnline},
        {"CGDisplayIsMain", CGDisplayIsMain},
        {"CGDisplayIsBuiltin", CGDisplayIsBuiltin},
        {"CGDisplayIsInMirrorSet", CGDisplayIsInMirrorSet},
    }};
    return all;
}

} // namespace macprobe
