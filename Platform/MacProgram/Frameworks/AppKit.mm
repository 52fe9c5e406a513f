#include "MacProgram/Frameworks/Frameworks.h"

#import <AppKit/AppKit.h>

namespace mac_program {

Library appKit() {
    return {"/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit",
            {
                function("_NSBeep", NSBeep),
                data("_NSApp", &NSApp),
                data("_NSFontWeightMedium", &NSFontWeightMedium),
                data("_NSFontWeightSemibold", &NSFontWeightSemibold),
            },
            {"NSAlert", "NSApplication", "NSBezierPath", "NSClickGestureRecognizer", "NSColor",
             "NSFont", "NSImage", "NSImageView", "NSMenu", "NSMenuItem", "NSScreen", "NSStatusBar",
             "NSSwitch", "NSTextField", "NSView"}};
}

} // namespace mac_program
