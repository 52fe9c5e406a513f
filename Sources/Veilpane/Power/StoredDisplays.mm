#include "Veilpane/Power/StoredDisplays.h"

#import <Foundation/Foundation.h>

#include <cmath>
#include <limits>
#include <optional>

namespace veilpane {

namespace {

NSString* const disconnectedIDsKey = @"Veilpane.disconnectedDisplayIDs";

// Absent for anything but a number that is exactly an unsigned 32-bit integer; a boolean is one, 1
// or 0. A double holds every such integer, and NaN fails each comparison.
std::optional<CGDirectDisplayID> displayIDFrom(id element) {
    if (![element isKindOfClass:[NSNumber class]]) {
        return std::nullopt;
    }
    const double value = [element doubleValue];
    if (!(value >= 0 && value <= std::numeric_limits<CGDirectDisplayID>::max()) ||
        value != std::trunc(value)) {
        return std::nullopt;
    }
    return static_cast<CGDirectDisplayID>(value);
}

// One element that is no display ID makes the whole stored value untrustworthy.
std::set<CGDirectDisplayID> displayIDsFrom(NSArray* stored) {
    std::set<CGDirectDisplayID> displayIDs;
    for (id element in stored) {
        const auto displayID = displayIDFrom(element);
        if (!displayID) {
            return {};
        }
        displayIDs.insert(*displayID);
    }
    return displayIDs;
}

} // namespace

std::set<CGDirectDisplayID> readStoredDisplays() {
    @autoreleasepool {
        return displayIDsFrom(
            [[NSUserDefaults standardUserDefaults] arrayForKey:disconnectedIDsKey]);
    }
}

void storeDisplays(const std::set<CGDirectDisplayID>& displays) {
    @autoreleasepool {
        NSMutableArray* const stored = [NSMutableArray array];
        for (const CGDirectDisplayID displayID : displays) {
            [stored addObject:[NSNumber numberWithUnsignedInt:displayID]];
        }
        [[NSUserDefaults standardUserDefaults] setObject:stored forKey:disconnectedIDsKey];
    }
}

} // namespace veilpane
