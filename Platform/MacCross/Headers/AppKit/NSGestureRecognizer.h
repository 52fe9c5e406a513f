#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

API_AVAILABLE(macos(10.10))
@interface NSGestureRecognizer : NSObject
- (instancetype)initWithTarget:(nullable id)target
                        action:(nullable SEL)action NS_DESIGNATED_INITIALIZER;
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
@property (nullable, weak) id target;
@property (nullable) SEL action;
@end

NS_ASSUME_NONNULL_END
