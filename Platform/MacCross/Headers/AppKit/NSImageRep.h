#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSImageRep : NSObject
// Into the current graphics context.
- (BOOL)draw;

@property NSInteger pixelsWide;
@property NSInteger pixelsHigh;
@end

NS_ASSUME_NONNULL_END
