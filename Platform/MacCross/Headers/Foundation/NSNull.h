#pragma once

#include <Foundation/NSObjCRuntime.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSNull : NSObject
+ (NSNull*)null;
@end

NS_ASSUME_NONNULL_END
