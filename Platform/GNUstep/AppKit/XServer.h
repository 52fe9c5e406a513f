#pragma once

#import <AppKit/AppKit.h>

/// The part of `rect` that lies on the screen, with edges on whole pixels. In screen coordinates.
NSRect visiblePart(NSRect rect);

/// What is seen now of a part of the screen with edges on whole pixels. Autoreleased; nil if there
/// is nothing of it.
NSImage* snapshotOfScreen(NSRect visibleRect);

/// Lets a window that is on the screen lie behind all others, also those of other applications.
void putBehindAllWindows(NSWindow* window);

/// While it exists, a window hears of all presses of the mouse's buttons, also of those outside
/// this application's windows.
class PointerGrab {
public:
    explicit PointerGrab(NSWindow* window);
    PointerGrab(const PointerGrab&) = delete;
    PointerGrab& operator=(const PointerGrab&) = delete;
    ~PointerGrab();
};
