#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSString;

typedef double NSTimeInterval; // seconds

NS_ASSUME_NONNULL_BEGIN

@interface NSDate : NSObject
+ (instancetype)date;
// The reference date is the first instant of 2001, UTC.
+ (instancetype)dateWithTimeIntervalSinceReferenceDate:(NSTimeInterval)interval;
@property (readonly) NSTimeInterval timeIntervalSinceReferenceDate;
@end

@interface NSFormatter : NSObject
@end

// By default 2026-01-31T08:05:09Z: UTC, without fractions of a second.
API_AVAILABLE(macos(10.12))
@interface NSISO8601DateFormatter : NSFormatter
- (instancetype)init NS_DESIGNATED_INITIALIZER;
- (NSString*)stringFromDate:(NSDate*)date;
@end

NS_ASSUME_NONNULL_END
