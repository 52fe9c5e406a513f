#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef float NSLayoutPriority;
static const NSLayoutPriority NSLayoutPriorityDefaultLow = 250.0;

NS_ENUM(NSInteger, NSLayoutConstraintOrientation){
    NSLayoutConstraintOrientationHorizontal = 0,
    NSLayoutConstraintOrientationVertical = 1,
};

API_AVAILABLE(macos(10.7))
@interface NSLayoutConstraint : NSObject
// Raises when the views of a constraint have no ancestor in common.
+ (void)activateConstraints:(NSArray<NSLayoutConstraint*>*)constraints API_AVAILABLE(macos(10.10));
@end

NS_ASSUME_NONNULL_END
