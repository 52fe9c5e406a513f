#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSString;

NS_ASSUME_NONNULL_BEGIN

typedef NSString* NSNotificationName;

@interface NSNotification : NSObject
+ (instancetype)notificationWithName:(NSNotificationName)name object:(nullable id)object;
@end

NS_ASSUME_NONNULL_END
