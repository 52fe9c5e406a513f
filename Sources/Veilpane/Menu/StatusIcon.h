#pragma once

#import <AppKit/AppKit.h>

namespace veilpane {

/// The status item's picture, 18 × 18 points: a monitor on its stand with a power dot, in black.
/// Autoreleased.
NSImage* makeStatusIcon();

} // namespace veilpane
