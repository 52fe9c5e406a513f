#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSError;
@class NSURL;

NS_ASSUME_NONNULL_BEGIN

typedef NSUInteger NSDataWritingOptions;

@interface NSData : NSObject
+ (instancetype)data;
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@property (readonly) NSUInteger length;
@property (readonly) const void* bytes NS_RETURNS_INNER_POINTER;
// Without options the file is created or overwritten.
- (BOOL)writeToURL:(NSURL*)url options:(NSDataWritingOptions)options error:(NSError**)error;
@end

NS_ASSUME_NONNULL_END
