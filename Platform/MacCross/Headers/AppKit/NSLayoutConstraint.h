#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

API_AVAILABLE(macos(10.7))
@interface NSLayoutConstraint : NSObject
// Raises when the views of a constraint have no ancestor in common.
+ (void)activateConstraints:(NSArray<NSLayoutConstraint*>*)constraints API_AVAILABLE(macos(10.10));
@end

NS_ASSUME_NONNULL_END
