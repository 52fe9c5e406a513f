#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSString;

NS_ASSUME_NONNULL_BEGIN

@interface NSURL : NSObject
+ (NSURL*)fileURLWithPath:(NSString*)path;
- (nullable NSURL*)URLByAppendingPathComponent:(NSString*)component;
@end

NS_ASSUME_NONNULL_END
