#pragma once

#import <AppKit/AppKit.h>

/// A text field leaves this room, in points, at either side of its text.
constexpr CGFloat textInset = 2;
