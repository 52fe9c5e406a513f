// Draws the status icon, large, on light and dark: StatusIconPicture FILE.png

#include "Veilpane/Menu/StatusIcon.h"

#import <AppKit/AppKit.h>

#include <cstdio>

namespace {

constexpr CGFloat scale = 12;
constexpr CGFloat side = 18 * scale;

// As a template image only the icon's shape counts: where it is transparent the ground shows.
NSImage* drawnIn(NSColor* color) {
    NSImage* const picture = [[[NSImage alloc] initWithSize:NSMakeSize(side, side)] autorelease];
    [picture lockFocus];
    NSAffineTransform* const large = [NSAffineTransform transform];
    [large scaleBy:scale];
    [large concat];
    [[[veilpane::makeStatusIcon() representations] lastObject] draw];
    [color set];
    NSRectFillUsingOperation(NSMakeRect(0, 0, 18, 18), NSCompositeSourceIn);
    [picture unlockFocus];
    return picture;
}

NSData* picture() {
    const NSRect bounds = NSMakeRect(0, 0, 2 * side, side);
    NSImage* const canvas = [[[NSImage alloc] initWithSize:bounds.size] autorelease];
    NSImage* const dark = drawnIn([NSColor whiteColor]);
    NSImage* const light = drawnIn([NSColor colorWithCalibratedWhite:0.15 alpha:1]);
    [canvas lockFocus];
    [[NSColor colorWithCalibratedWhite:0.93 alpha:1] set];
    NSRectFill(NSMakeRect(0, 0, side, side));
    [[NSColor colorWithCalibratedWhite:0.16 alpha:1] set];
    NSRectFill(NSMakeRect(side, 0, side, side));
    [light drawAtPoint:NSZeroPoint fromRect:NSZeroRect operation:NSCompositeSourceOver fraction:1];
    [dark drawAtPoint:NSMakePoint(side, 0)
             fromRect:NSZeroRect
            operation:NSCompositeSourceOver
             fraction:1];
    NSBitmapImageRep* const bitmap =
        [[[NSBitmapImageRep alloc] initWithFocusedViewRect:bounds] autorelease];
    [canvas unlockFocus];
    return [bitmap representationUsingType:NSPNGFileType properties:@{}];
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: StatusIconPicture FILE.png\n", stderr);
        return 2;
    }
    @autoreleasepool {
        [NSApplication sharedApplication];
        if (![picture() writeToFile:[NSString stringWithUTF8String:argv[1]] atomically:YES]) {
            std::fprintf(stderr, "StatusIconPicture: cannot write '%s'\n", argv[1]);
            return 1;
        }
    }
    return 0;
}
