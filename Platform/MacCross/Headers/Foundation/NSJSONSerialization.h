#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSData;
@class NSError;

NS_ASSUME_NONNULL_BEGIN

typedef NSUInteger NSJSONReadingOptions;

@interface NSJSONSerialization : NSObject
+ (nullable id)JSONObjectWithData:(NSData*)data
                          options:(NSJSONReadingOptions)options
                            error:(NSError**)error;
@end

NS_ASSUME_NONNULL_END
