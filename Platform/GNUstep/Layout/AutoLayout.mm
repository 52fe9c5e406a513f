// Auto Layout's part of NSView: the constraints that are installed on a view, natural sizes,
// layout.

#import "AppKit/Labels.h"
#import "Layout/LayoutSolver.h"
#import "ObjectiveC/Retained.h"
#import "Runtime/AttachedObject.h"

#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

#include <cmath>

namespace {

const char constraintsKey = 0;
const char keepsNoFrameKey = 0;
const char horizontalResistanceKey = 0;
const char verticalResistanceKey = 0;

const char* resistanceKey(NSLayoutConstraintOrientation orientation) {
    return orientation == NSLayoutConstraintOrientationHorizontal ? &horizontalResistanceKey
                                                                  : &verticalResistanceKey;
}

NSMutableArray* installedConstraints(NSView* view) {
    return attachedObject<NSMutableArray>(view, &constraintsKey);
}

} // namespace

@implementation NSView (AutoLayout)

- (BOOL)translatesAutoresizingMaskIntoConstraints {
    return objc_getAssociatedObject(self, &keepsNoFrameKey) == nil;
}

- (void)setTranslatesAutoresizingMaskIntoConstraints:(BOOL)translates {
    objc_setAssociatedObject(self, &keepsNoFrameKey, translates ? nil : @(YES),
                             OBJC_ASSOCIATION_RETAIN);
}

- (NSArray*)constraints {
    NSArray* const constraints = objc_getAssociatedObject(self, &constraintsKey);
    return constraints == nil ? [NSArray array] : [NSArray arrayWithArray:constraints];
}

- (void)addConstraint:(NSLayoutConstraint*)constraint {
    NSMutableArray* const constraints = installedConstraints(self);
    if (![constraints containsObject:constraint]) {
        [constraints addObject:constraint];
        [constraint setActive:YES];
    }
}

- (void)removeConstraint:(NSLayoutConstraint*)constraint {
    keptUntilPoolDrains(constraint);
    [installedConstraints(self) removeObject:constraint];
    [constraint setActive:NO];
}

- (NSLayoutPriority)contentCompressionResistancePriorityForOrientation:
    (NSLayoutConstraintOrientation)orientation {
    NSNumber* const priority = objc_getAssociatedObject(self, resistanceKey(orientation));
    return priority == nil ? NSLayoutPriorityDefaultHigh : [priority floatValue];
}

- (void)setContentCompressionResistancePriority:(NSLayoutPriority)priority
                                 forOrientation:(NSLayoutConstraintOrientation)orientation {
    objc_setAssociatedObject(self, resistanceKey(orientation), @(priority),
                             OBJC_ASSOCIATION_RETAIN);
}

- (NSSize)intrinsicContentSize {
    return NSMakeSize(NSViewNoIntrinsicMetric, NSViewNoIntrinsicMetric);
}

- (NSSize)fittingSize {
    LayoutSolver solver(self);
    solver.makeRootSmall();
    solver.solve();
    return solver.rootSize();
}

- (void)layoutSubtreeIfNeeded {
    LayoutSolver solver(self);
    solver.makeRootSmall();
    solver.solve();
    solver.setFrames();
}

@end

@implementation NSTextField (AutoLayout)

- (NSSize)intrinsicContentSize {
    const NSSize text = [[self attributedStringValue] size];
    return NSMakeSize(std::ceil(text.width) + 2 * textInset, std::ceil(text.height));
}

@end

@implementation NSButton (AutoLayout)

- (NSSize)intrinsicContentSize {
    return [[self cell] cellSize];
}

@end

@implementation NSImageView (AutoLayout)

- (NSSize)intrinsicContentSize {
    return [self image] != nil ? [[self image] size] : [super intrinsicContentSize];
}

@end
