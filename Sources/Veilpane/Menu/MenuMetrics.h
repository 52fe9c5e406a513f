#pragma once

#import <AppKit/AppKit.h>

/// The measures, in points, that all rows of the menu share.
namespace MenuMetrics {

constexpr CGFloat rowWidth = 280;
constexpr CGFloat sideMargin = 16;

} // namespace MenuMetrics
