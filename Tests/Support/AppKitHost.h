#pragma once

// Where the AppKit of a Mac and the stand-in for it differ for a test: one header, a body for each.

#import <AppKit/AppKit.h>

#include <functional>
#include <memory>
#include <string>

/// What this process draws its windows on, for as long as the result lives: a screen that nobody
/// sees on Linux, and the Mac's own, for which nothing need be kept.
std::shared_ptr<void> screenForWindows();

/// Whether windows and status items can be made. False on a Mac for a process outside of a session
/// at its desktop, where AppKit ends a process that makes an application.
bool hasWindowServer();

/// How far a view's edge may be from where its constraints say, in points: on a Mac frames are
/// rounded to pixels.
CGFloat pixelRounding();

/// The part of a view's frame that its constraints are about, in its superview's coordinates: on a
/// Mac without shadows and the inset of a text.
NSRect alignmentRect(NSView* view);

/// Calls `drawing` with a picture of this size, in points, as what it draws on, and returns the
/// picture, which is autoreleased: red, green, blue and what it covers for each pixel.
NSBitmapImageRep* drawUnseen(NSSize size, const std::function<void()>& drawing);

/// What the program wrote of a standard error's text. A Mac's frameworks write there too, lines
/// that do not begin as the log's.
std::string withoutFrameworkMessages(const std::string& standardError);
