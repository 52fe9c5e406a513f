#pragma once

#import <AppKit/AppKit.h>

/// The image's shape in a colour. It is drawn once and kept with the image; better not for the
/// first time while a view is drawn. Autoreleased.
NSImage* tintedImage(NSImage* image, NSSize size, NSColor* tint);

/// Draws the image's shape in a colour, upright.
void drawTinted(NSImage* image, NSRect rect, NSColor* tint);

/// The largest place of this shape in the middle of `room`; never above `size` unless it may grow.
NSRect fittedRect(NSSize size, NSRect room, bool mayGrow);
