#pragma once

#include <AppKit/NSLayoutConstraint.h>
#include <AppKit/NSResponder.h>

@class NSGestureRecognizer;
@class NSLayoutDimension;
@class NSLayoutXAxisAnchor;
@class NSLayoutYAxisAnchor;

NS_ASSUME_NONNULL_BEGIN

@interface NSView : NSResponder
- (instancetype)initWithFrame:(NSRect)frame NS_DESIGNATED_INITIALIZER;
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
@property NSRect frame;
@property (nullable, copy) NSString* toolTip;
@property (copy) NSArray<__kindof NSView*>* subviews;
@property (nullable, readonly, unsafe_unretained) NSView* superview;
- (void)addSubview:(NSView*)view;
- (void)setFrameSize:(NSSize)newSize;
@end

@interface NSView (NSGestureRecognizer)
@property (copy)
    NSArray<__kindof NSGestureRecognizer*>* gestureRecognizers API_AVAILABLE(macos(10.10));
- (void)addGestureRecognizer:(NSGestureRecognizer*)gestureRecognizer API_AVAILABLE(macos(10.10));
@end

@interface NSView (NSAccessibility)
@property (nullable, copy) NSString* accessibilityLabel API_AVAILABLE(macos(10.10));
@end

@interface NSView (NSConstraintBasedLayout)
@property BOOL translatesAutoresizingMaskIntoConstraints;
@property (readonly, strong) NSLayoutXAxisAnchor* leadingAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutXAxisAnchor* trailingAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutYAxisAnchor* centerYAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutDimension* widthAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutDimension* heightAnchor API_AVAILABLE(macos(10.11));
// The smallest size that satisfies the constraints.
@property (readonly) NSSize fittingSize API_AVAILABLE(macos(10.7));
@property (readonly) NSSize intrinsicContentSize API_AVAILABLE(macos(10.7));
// Constraints are about the alignment rectangle, which has no shadow and no inset of a text.
- (NSRect)alignmentRectForFrame:(NSRect)frame API_AVAILABLE(macos(10.7));
- (void)layoutSubtreeIfNeeded API_AVAILABLE(macos(10.7));
- (NSLayoutPriority)contentCompressionResistancePriorityForOrientation:
    (NSLayoutConstraintOrientation)orientation API_AVAILABLE(macos(10.7));
- (void)setContentCompressionResistancePriority:(NSLayoutPriority)priority
                                 forOrientation:(NSLayoutConstraintOrientation)orientation
    API_AVAILABLE(macos(10.7));
@end

NS_ASSUME_NONNULL_END
