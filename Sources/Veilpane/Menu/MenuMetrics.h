#pragma once

#import <AppKit/AppKit.h>

namespace veilpane {

// The measures, in points, that all rows of the menu share.
constexpr CGFloat menuRowWidth = 280;
constexpr CGFloat menuSideMargin = 16;

} // namespace veilpane
