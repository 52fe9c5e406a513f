#pragma once

#import <AppKit/AppKit.h>

/// Whether the event presses the mouse's button over a view with a click recognizer. Then the
/// recognizer has followed the mouse until the button was let go, and the views shall not get the
/// event.
bool isTakenByRecognizer(NSEvent* event, NSWindow* window);
