#pragma once

#import <AppKit/AppKit.h>

/// A layout constraint between views that it does not retain, as constraints belong to their views.
@interface LayoutConstraint : NSLayoutConstraint {
@private
    NSView* _first;
    NSView* _second;
    NSView* _installedOn;
    NSLayoutAttribute _attribute;
    NSLayoutAttribute _otherAttribute;
    NSLayoutRelation _kind;
    CGFloat _factor;
    CGFloat _offset;
    NSLayoutPriority _strength;
}

/// `firstAttribute` of `firstItem` stands in `relation` to `multiplier` times `secondAttribute` of
/// `secondItem`, plus `constant` in points. Without a second item only the constant counts.
- (instancetype)initWithItem:(NSView*)firstItem
                   attribute:(NSLayoutAttribute)firstAttribute
                   relatedBy:(NSLayoutRelation)relation
                      toItem:(NSView*)secondItem
                   attribute:(NSLayoutAttribute)secondAttribute
                  multiplier:(CGFloat)multiplier
                    constant:(CGFloat)constant;

@end
