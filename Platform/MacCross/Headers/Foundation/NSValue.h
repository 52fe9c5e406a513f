#pragma once

#include <Foundation/NSObjCRuntime.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSValue : NSObject
@end

// The readings truncate silently.
@interface NSNumber : NSValue
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithDouble:(double)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value;
@property (readonly) unsigned int unsignedIntValue;
@property (readonly) long long longLongValue;
@property (readonly) double doubleValue;
@end

NS_ASSUME_NONNULL_END
