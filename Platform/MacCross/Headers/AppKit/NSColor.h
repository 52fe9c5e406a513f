#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSColor : NSObject
@property (class, strong, readonly) NSColor* blackColor;
@property (class, strong, readonly) NSColor* clearColor;
@property (class, strong, readonly) NSColor* labelColor API_AVAILABLE(macos(10.10));
@property (class, strong, readonly) NSColor* secondaryLabelColor API_AVAILABLE(macos(10.10));
@property (class, strong, readonly) NSColor* tertiaryLabelColor API_AVAILABLE(macos(10.10));
- (void)setFill;
- (void)setStroke;
@end

NS_ASSUME_NONNULL_END
