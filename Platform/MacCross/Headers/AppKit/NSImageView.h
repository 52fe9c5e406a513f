#pragma once

#include <AppKit/NSControl.h>
#include <AppKit/NSImage.h>

@class NSColor;

NS_ASSUME_NONNULL_BEGIN

@interface NSImageView : NSControl
@property (nullable, strong) NSImage* image;
@property NSImageScaling imageScaling;
@property (nullable, copy) NSColor* contentTintColor API_AVAILABLE(macos(10.14));
@end

NS_ASSUME_NONNULL_END
