#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSData;
@class NSError;
@class NSURL;

NS_ASSUME_NONNULL_BEGIN

@interface NSFileHandle : NSObject
@property (class, readonly, strong) NSFileHandle* fileHandleWithStandardError;
// Nil when there is no such file; the file is not truncated.
+ (nullable instancetype)fileHandleForWritingToURL:(NSURL*)url error:(NSError**)error;
// These two raise when the file cannot be written or has no end to seek to.
- (void)writeData:(NSData*)data;
- (unsigned long long)seekToEndOfFile;
- (BOOL)closeAndReturnError:(NSError**)error API_AVAILABLE(macos(10.15));
@end

NS_ASSUME_NONNULL_END
