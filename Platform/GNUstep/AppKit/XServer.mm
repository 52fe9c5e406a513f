#include "AppKit/XServer.h"

#import <GNUstepGUI/GSDisplayServer.h>

#include <memory>

// Xlib has types of the same names as Cocoa's ones.
#define Cursor XCursor
#define Font XFont
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#undef Cursor
#undef Font

namespace {

struct DestroyImage {
    void operator()(XImage* image) const { XDestroyImage(image); }
};
using OwnedImage = std::unique_ptr<XImage, DestroyImage>;

Display* xDisplay() {
    return static_cast<Display*>([GSCurrentServer() serverDevice]);
}

Window xWindow(NSWindow* window) {
    return reinterpret_cast<Window>([window windowRef]);
}

NSBitmapImageRep* emptyBitmap(NSInteger width, NSInteger height) {
    return [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                    pixelsWide:width
                                                    pixelsHigh:height
                                                 bitsPerSample:8
                                               samplesPerPixel:3
                                                      hasAlpha:NO
                                                      isPlanar:NO
                                                colorSpaceName:NSCalibratedRGBColorSpace
                                                   bytesPerRow:0
                                                  bitsPerPixel:24] autorelease];
}

unsigned char channel(unsigned long pixel, unsigned long mask) {
    const auto value = (pixel & mask) >> __builtin_ctzl(mask);
    return static_cast<unsigned char>(value);
}

NSImage* imageFrom(XImage* pixels, NSSize size) {
    NSBitmapImageRep* const bitmap = emptyBitmap(pixels->width, pixels->height);
    for (int y = 0; y < pixels->height; ++y) {
        unsigned char* row = [bitmap bitmapData] + y * [bitmap bytesPerRow];
        for (int x = 0; x < pixels->width; ++x) {
            const unsigned long pixel = XGetPixel(pixels, x, y);
            *row++ = channel(pixel, pixels->red_mask);
            *row++ = channel(pixel, pixels->green_mask);
            *row++ = channel(pixel, pixels->blue_mask);
        }
    }
    NSImage* const image = [[[NSImage alloc] initWithSize:size] autorelease];
    [image addRepresentation:bitmap];
    return image;
}

} // namespace

NSRect visiblePart(NSRect rect) {
    return NSIntersectionRect(NSIntegralRect(rect), [[NSScreen mainScreen] frame]);
}

NSImage* snapshotOfScreen(NSRect visibleRect) {
    if (NSIsEmptyRect(visibleRect)) {
        return nil;
    }
    Display* const display = xDisplay();
    const CGFloat screenTop = NSMaxY([[NSScreen mainScreen] frame]);
    XSync(display, False);
    const OwnedImage pixels(
        XGetImage(display, DefaultRootWindow(display), static_cast<int>(NSMinX(visibleRect)),
                  static_cast<int>(screenTop - NSMaxY(visibleRect)),
                  static_cast<unsigned>(NSWidth(visibleRect)),
                  static_cast<unsigned>(NSHeight(visibleRect)), AllPlanes, ZPixmap));
    return pixels != nullptr ? imageFrom(pixels.get(), visibleRect.size) : nil;
}

void putBehindAllWindows(NSWindow* window) {
    XLowerWindow(xDisplay(), xWindow(window));
    XFlush(xDisplay());
}

PointerGrab::PointerGrab(NSWindow* window) {
    XGrabPointer(xDisplay(), xWindow(window), True,
                 ButtonPressMask | ButtonReleaseMask | PointerMotionMask, GrabModeAsync,
                 GrabModeAsync, None, None, CurrentTime);
    XFlush(xDisplay());
}

PointerGrab::~PointerGrab() {
    XUngrabPointer(xDisplay(), CurrentTime);
    XFlush(xDisplay());
}
