#include "Veilpane/Power/RememberedDisplays.h"

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
std::optional<std::set<CGDirectDisplayID>> displayIDsFrom(NSArray* stored) {
    std::set<CGDirectDisplayID> displayIDs;
    for (id element in stored) {
        const auto displayID = displayIDFrom(element);
        if (!displayID) {
            return std::nullopt;
        }
        displayIDs.insert(*displayID);
    }
    return displayIDs;
}

} // namespace

RememberedDisplays& RememberedDisplays::shared() {
    // AppKit may call the delegate, which asks for it, while the process exits.
    [[clang::no_destroy]] static RememberedDisplays displays;
    return displays;
}

bool RememberedDisplays::contains(CGDirectDisplayID displayID) {
    loadPersisted();
    return displays_.contains(displayID);
}

const std::set<CGDirectDisplayID>& RememberedDisplays::all() {
    loadPersisted();
    return displays_;
}

void RememberedDisplays::remember(CGDirectDisplayID displayID) {
    loadPersisted();
    displays_.insert(displayID);
    persist();
}

void RememberedDisplays::forget(CGDirectDisplayID displayID) {
    loadPersisted();
    displays_.erase(displayID);
    persist();
}

void RememberedDisplays::keepOnly(const std::function<bool(CGDirectDisplayID)>& condition) {
    loadPersisted();
    std::erase_if(displays_, std::not_fn(condition));
}

// A failed read is not repeated in this process.
void RememberedDisplays::loadPersisted() {
    if (loaded_) {
        return;
    }
    loaded_ = true;
    @autoreleasepool {
        NSArray* const stored =
            [[NSUserDefaults standardUserDefaults] arrayForKey:disconnectedIDsKey];
        if (stored == nil) {
            return;
        }
        if (auto displayIDs = displayIDsFrom(stored)) {
            displays_ = std::move(*displayIDs);
        }
    }
}

void RememberedDisplays::persist() const {
    @autoreleasepool {
        NSMutableArray* const stored = [NSMutableArray array];
        for (const CGDirectDisplayID displayID : displays_) {
            [stored addObject:[NSNumber numberWithUnsignedInt:displayID]];
        }
        [[NSUserDefaults standardUserDefaults] setObject:stored forKey:disconnectedIDsKey];
    }
}

} // namespace veilpane
