#include "Veilpane/Inventory/ScreenNames.h"

#include "Veilpane/Support/UTF8Text.h"

#import <AppKit/AppKit.h>

namespace veilpane {

namespace {

bool showsDisplay(NSScreen* screen, CGDirectDisplayID displayID) {
    id const number = [[screen deviceDescription] objectForKey:@"NSScreenNumber"];
    return [number isKindOfClass:[NSNumber class]] && [number unsignedIntValue] == displayID;
}

} // namespace

std::optional<std::string> screenName(CGDirectDisplayID displayID) {
    @autoreleasepool {
        for (NSScreen* screen in [NSScreen screens]) {
            if (showsDisplay(screen, displayID)) {
                auto name = utf8Text([screen localizedName]);
                return name && !name->empty() ? name : std::nullopt;
            }
        }
        return std::nullopt;
    }
}

} // namespace veilpane
