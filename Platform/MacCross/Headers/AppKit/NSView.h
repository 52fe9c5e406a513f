#pragma once

#include <AppKit/NSResponder.h>

@class NSLayoutDimension;
@class NSLayoutXAxisAnchor;
@class NSLayoutYAxisAnchor;

NS_ASSUME_NONNULL_BEGIN

@interface NSView : NSResponder
- (instancetype)initWithFrame:(NSRect)frame NS_DESIGNATED_INITIALIZER;
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
@property NSRect frame;
@property (nullable, copy) NSString* toolTip;
- (void)addSubview:(NSView*)view;
@end

@interface NSView (NSConstraintBasedLayout)
@property BOOL translatesAutoresizingMaskIntoConstraints;
@property (readonly, strong) NSLayoutXAxisAnchor* leadingAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutXAxisAnchor* trailingAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutYAxisAnchor* centerYAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutDimension* widthAnchor API_AVAILABLE(macos(10.11));
@property (readonly, strong) NSLayoutDimension* heightAnchor API_AVAILABLE(macos(10.11));
@end

NS_ASSUME_NONNULL_END
