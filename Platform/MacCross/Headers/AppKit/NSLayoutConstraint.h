#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef float NSLayoutPriority;
static const NSLayoutPriority NSLayoutPriorityDefaultHigh = 750.0;
static const NSLayoutPriority NSLayoutPriorityDefaultLow = 250.0;

NS_ENUM(NSInteger, NSLayoutConstraintOrientation){
    NSLayoutConstraintOrientationHorizontal = 0,
    NSLayoutConstraintOrientationVertical = 1,
};

NS_ENUM(NSInteger, NSLayoutRelation){
    NSLayoutRelationLessThanOrEqual = -1,
    NSLayoutRelationEqual = 0,
    NSLayoutRelationGreaterThanOrEqual = 1,
};

NS_ENUM(NSInteger, NSLayoutAttribute){
    NSLayoutAttributeNotAnAttribute = 0, NSLayoutAttributeLeading = 5,
    NSLayoutAttributeTrailing = 6,       NSLayoutAttributeWidth = 7,
    NSLayoutAttributeHeight = 8,         NSLayoutAttributeCenterY = 10,
};

API_AVAILABLE(macos(10.7))
@interface NSLayoutConstraint : NSObject
// Raises when the views of a constraint have no ancestor in common.
+ (void)activateConstraints:(NSArray<NSLayoutConstraint*>*)constraints API_AVAILABLE(macos(10.10));
@property (nullable, readonly, assign) id firstItem;
@property (nullable, readonly, assign) id secondItem;
@property (readonly) NSLayoutAttribute firstAttribute;
@property (readonly) NSLayoutAttribute secondAttribute;
@property (readonly) NSLayoutRelation relation;
@property (readonly) CGFloat multiplier;
@property CGFloat constant;
@end

NS_ASSUME_NONNULL_END
