#pragma once

#include <AppKit/NSLayoutConstraint.h>

NS_ASSUME_NONNULL_BEGIN

@class NSLayoutXAxisAnchor;
@class NSLayoutYAxisAnchor;
@class NSLayoutDimension;

// The constraints come inactive. Anchors of different axes do not go together.
API_AVAILABLE(macos(10.11))
@interface NSLayoutAnchor<AnchorType> : NSObject
- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutAnchor<AnchorType>*)anchor
    NS_WARN_UNUSED_RESULT;
- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutAnchor<AnchorType>*)anchor
                                      constant:(CGFloat)constant NS_WARN_UNUSED_RESULT;
- (NSLayoutConstraint*)constraintLessThanOrEqualToAnchor:(NSLayoutAnchor<AnchorType>*)anchor
                                                constant:(CGFloat)constant NS_WARN_UNUSED_RESULT;
@end

API_AVAILABLE(macos(10.11))
@interface NSLayoutXAxisAnchor : NSLayoutAnchor <NSLayoutXAxisAnchor*>
@end

API_AVAILABLE(macos(10.11))
@interface NSLayoutYAxisAnchor : NSLayoutAnchor <NSLayoutYAxisAnchor*>
@end

API_AVAILABLE(macos(10.11))
@interface NSLayoutDimension : NSLayoutAnchor <NSLayoutDimension*>
- (NSLayoutConstraint*)constraintEqualToConstant:(CGFloat)constant NS_WARN_UNUSED_RESULT;
@end

NS_ASSUME_NONNULL_END
