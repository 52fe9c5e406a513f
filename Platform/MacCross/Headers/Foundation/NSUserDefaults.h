#pragma once

#include <Foundation/NSArray.h>
#include <Foundation/NSObjCRuntime.h>

@class NSString;

NS_ASSUME_NONNULL_BEGIN

@interface NSUserDefaults : NSObject
@property (class, readonly, strong) NSUserDefaults* standardUserDefaults;
- (nullable NSArray*)arrayForKey:(NSString*)key;
// Takes effect in this process at once; it is stored some time later.
- (void)setObject:(nullable id)value forKey:(NSString*)key;
@end

NS_ASSUME_NONNULL_END
