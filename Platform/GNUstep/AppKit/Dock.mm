#include "AppKit/Dock.h"

#include "AppKit/Palette.h"

#import <AppKit/AppKit.h>

namespace {

constexpr CGFloat dockIconSize = 48;

// Never released: once there, the Dock stays as long as the process.
NSPanel* newDock() {
    const NSRect screen = [[NSScreen mainScreen] frame];
    const NSRect frame =
        NSMakeRect(NSMidX(screen) - dockIconSize / 2, NSMinY(screen), dockIconSize, dockIconSize);
    NSPanel* const dock = [[NSPanel alloc] initWithContentRect:frame
                                                     styleMask:NSBorderlessWindowMask
                                                       backing:NSBackingStoreBuffered
                                                         defer:NO];
    [dock setLevel:NSDockWindowLevel];
    [dock setHidesOnDeactivate:NO];
    [dock setBackgroundColor:Palette::accent()];
    return dock;
}

} // namespace

void showInDock(bool isShown) {
    static NSPanel* dock = nil;
    if (isShown && dock == nil) {
        dock = newDock();
    }
    if (isShown) {
        [dock orderFrontRegardless];
    } else {
        [dock orderOut:nil];
    }
}
