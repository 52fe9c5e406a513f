#include "MacProbe/Screens.h"

#include "Veilpane/Support/UTF8Text.h"

#import <AppKit/AppKit.h>

namespace macprobe {

std::map<CGDirectDisplayID, std::string> screenNames() {
    std::map<CGDirectDisplayID, std::string> names;
    @autoreleasepool {
        for (NSScreen* screen in [NSScreen screens]) {
            id const number = [[screen deviceDescription] objectForKey:@"NSScreenNumber"];
            if ([number isKindOfClass:[NSNumber class]]) {
                names[[number unsignedIntValue]] =
                    veilpane::utf8Text([screen localizedName]).value_or(std::string());
            }
        }
    }
    return names;
}

} // namespace macprobe
