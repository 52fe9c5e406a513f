// Layout anchors: a view and one of its attributes, from which constraints are made.

#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

namespace {

const char viewKey = 0;
const char attributeKey = 0;

template <class Anchor>
Anchor* anchorOf(NSView* view, NSLayoutAttribute attribute) {
    Anchor* const anchor = [[[Anchor alloc] init] autorelease];
    objc_setAssociatedObject(anchor, &viewKey, [NSValue valueWithNonretainedObject:view],
                             OBJC_ASSOCIATION_RETAIN);
    objc_setAssociatedObject(anchor, &attributeKey, @(attribute), OBJC_ASSOCIATION_RETAIN);
    return anchor;
}

NSView* viewOf(NSLayoutAnchor* anchor) {
    return [objc_getAssociatedObject(anchor, &viewKey) nonretainedObjectValue];
}

NSLayoutAttribute attributeOf(NSLayoutAnchor* anchor) {
    return [objc_getAssociatedObject(anchor, &attributeKey) integerValue];
}

NSLayoutConstraint* constraint(NSLayoutAnchor* first, NSLayoutRelation relation,
                               NSLayoutAnchor* second, CGFloat multiplier, CGFloat constant) {
    return [NSLayoutConstraint constraintWithItem:viewOf(first)
                                        attribute:attributeOf(first)
                                        relatedBy:relation
                                           toItem:viewOf(second)
                                        attribute:attributeOf(second)
                                       multiplier:multiplier
                                         constant:constant];
}

} // namespace

@implementation NSLayoutAnchor (Additions)

- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutAnchor*)anchor {
    return constraint(self, NSLayoutRelationEqual, anchor, 1, 0);
}

- (NSLayoutConstraint*)constraintGreaterThanOrEqualToAnchor:(NSLayoutAnchor*)anchor {
    return constraint(self, NSLayoutRelationGreaterThanOrEqual, anchor, 1, 0);
}

- (NSLayoutConstraint*)constraintLessThanOrEqualToAnchor:(NSLayoutAnchor*)anchor {
    return constraint(self, NSLayoutRelationLessThanOrEqual, anchor, 1, 0);
}

- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutAnchor*)anchor constant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationEqual, anchor, 1, constant);
}

- (NSLayoutConstraint*)constraintGreaterThanOrEqualToAnchor:(NSLayoutAnchor*)anchor
                                                   constant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationGreaterThanOrEqual, anchor, 1, constant);
}

- (NSLayoutConstraint*)constraintLessThanOrEqualToAnchor:(NSLayoutAnchor*)anchor
                                                constant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationLessThanOrEqual, anchor, 1, constant);
}

@end

@implementation NSLayoutDimension (Additions)

- (NSLayoutConstraint*)constraintEqualToConstant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationEqual, nil, 1, constant);
}

- (NSLayoutConstraint*)constraintGreaterThanOrEqualToConstant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationGreaterThanOrEqual, nil, 1, constant);
}

- (NSLayoutConstraint*)constraintLessThanOrEqualToConstant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationLessThanOrEqual, nil, 1, constant);
}

- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutDimension*)anchor
                                    multiplier:(CGFloat)multiplier {
    return constraint(self, NSLayoutRelationEqual, anchor, multiplier, 0);
}

- (NSLayoutConstraint*)constraintGreaterThanOrEqualToAnchor:(NSLayoutDimension*)anchor
                                                 multiplier:(CGFloat)multiplier {
    return constraint(self, NSLayoutRelationGreaterThanOrEqual, anchor, multiplier, 0);
}

- (NSLayoutConstraint*)constraintLessThanOrEqualToAnchor:(NSLayoutDimension*)anchor
                                              multiplier:(CGFloat)multiplier {
    return constraint(self, NSLayoutRelationLessThanOrEqual, anchor, multiplier, 0);
}

- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutDimension*)anchor
                                    multiplier:(CGFloat)multiplier
                                      constant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationEqual, anchor, multiplier, constant);
}

- (NSLayoutConstraint*)constraintGreaterThanOrEqualToAnchor:(NSLayoutDimension*)anchor
                                                 multiplier:(CGFloat)multiplier
                                                   constant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationGreaterThanOrEqual, anchor, multiplier, constant);
}

- (NSLayoutConstraint*)constraintLessThanOrEqualToAnchor:(NSLayoutDimension*)anchor
                                              multiplier:(CGFloat)multiplier
                                                constant:(CGFloat)constant {
    return ::constraint(self, NSLayoutRelationLessThanOrEqual, anchor, multiplier, constant);
}

@end

@implementation NSView (LayoutAnchors)

- (NSLayoutXAxisAnchor*)leadingAnchor {
    return anchorOf<NSLayoutXAxisAnchor>(self, NSLayoutAttributeLeading);
}

- (NSLayoutXAxisAnchor*)trailingAnchor {
    return anchorOf<NSLayoutXAxisAnchor>(self, NSLayoutAttributeTrailing);
}

- (NSLayoutXAxisAnchor*)leftAnchor {
    return anchorOf<NSLayoutXAxisAnchor>(self, NSLayoutAttributeLeft);
}

- (NSLayoutXAxisAnchor*)rightAnchor {
    return anchorOf<NSLayoutXAxisAnchor>(self, NSLayoutAttributeRight);
}

- (NSLayoutXAxisAnchor*)centerXAnchor {
    return anchorOf<NSLayoutXAxisAnchor>(self, NSLayoutAttributeCenterX);
}

- (NSLayoutYAxisAnchor*)topAnchor {
    return anchorOf<NSLayoutYAxisAnchor>(self, NSLayoutAttributeTop);
}

- (NSLayoutYAxisAnchor*)bottomAnchor {
    return anchorOf<NSLayoutYAxisAnchor>(self, NSLayoutAttributeBottom);
}

- (NSLayoutYAxisAnchor*)centerYAnchor {
    return anchorOf<NSLayoutYAxisAnchor>(self, NSLayoutAttributeCenterY);
}

- (NSLayoutDimension*)widthAnchor {
    return anchorOf<NSLayoutDimension>(self, NSLayoutAttributeWidth);
}

- (NSLayoutDimension*)heightAnchor {
    return anchorOf<NSLayoutDimension>(self, NSLayoutAttributeHeight);
}

@end
