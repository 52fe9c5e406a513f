#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSInteger NSWindowLevel;
static const NSWindowLevel NSNormalWindowLevel = 0;
static const NSWindowLevel NSFloatingWindowLevel = 3;

@interface NSWindow : NSResponder
@property NSWindowLevel level;
@property BOOL preventsApplicationTerminationWhenModal API_AVAILABLE(macos(10.6));
@end

NS_ASSUME_NONNULL_END
