#import "Layout/LayoutConstraint.h"

namespace {

NSString* attributeName(NSLayoutAttribute attribute) {
    static NSString* const names[] = {@"",       @"left",    @"right",    @"top",
                                      @"bottom", @"leading", @"trailing", @"width",
                                      @"height", @"centerX", @"centerY"};
    return attribute > 0 && attribute <= NSLayoutAttributeCenterY ? names[attribute] : @"?";
}

NSString* relationSign(NSLayoutRelation relation) {
    return relation == NSLayoutRelationEqual             ? @"=="
           : relation == NSLayoutRelationLessThanOrEqual ? @"<="
                                                         : @">=";
}

NSView* closestCommonAncestor(NSView* first, NSView* second) {
    if (second == nil) {
        return first;
    }
    for (NSView* ancestor = first; ancestor != nil; ancestor = [ancestor superview]) {
        if ([second isDescendantOf:ancestor]) {
            return ancestor;
        }
    }
    return nil;
}

} // namespace

@implementation LayoutConstraint

- (instancetype)initWithItem:(NSView*)firstItem
                   attribute:(NSLayoutAttribute)firstAttribute
                   relatedBy:(NSLayoutRelation)relation
                      toItem:(NSView*)secondItem
                   attribute:(NSLayoutAttribute)secondAttribute
                  multiplier:(CGFloat)multiplier
                    constant:(CGFloat)constant {
    self = [super init];
    if (self != nil) {
        _first = firstItem;
        _second = secondItem;
        _attribute = firstAttribute;
        _otherAttribute = secondItem != nil ? secondAttribute : NSLayoutAttributeNotAnAttribute;
        _kind = relation;
        _factor = multiplier;
        _offset = constant;
        _strength = NSLayoutPriorityRequired;
    }
    return self;
}

- (id)firstItem {
    return _first;
}

- (id)secondItem {
    return _second;
}

- (NSLayoutAttribute)firstAttribute {
    return _attribute;
}

- (NSLayoutAttribute)secondAttribute {
    return _otherAttribute;
}

- (NSLayoutRelation)relation {
    return _kind;
}

- (CGFloat)multiplier {
    return _factor;
}

- (CGFloat)constant {
    return _offset;
}

- (NSLayoutPriority)priority {
    return _strength;
}

- (void)setPriority:(NSLayoutPriority)priority {
    _strength = priority;
}

- (BOOL)isActive {
    return _installedOn != nil;
}

- (void)setActive:(BOOL)isActive {
    if (isActive == (_installedOn != nil)) {
        return;
    }
    if (!isActive) {
        NSView* const view = _installedOn;
        _installedOn = nil;
        [view removeConstraint:self];
        return;
    }
    NSView* const ancestor = closestCommonAncestor(_first, _second);
    if (ancestor == nil) {
        [NSException
             raise:NSGenericException
            format:@"Unable to activate constraint %@: its views have no common ancestor", self];
    }
    _installedOn = ancestor;
    [ancestor addConstraint:self];
}

- (NSString*)description {
    if (_second == nil) {
        return [NSString stringWithFormat:@"%@.%@ %@ %g", [_first class], attributeName(_attribute),
                                          relationSign(_kind), _offset];
    }
    NSString* const factor = _factor == 1 ? @"" : [NSString stringWithFormat:@"%g * ", _factor];
    NSString* const offset = _offset == 0 ? @"" : [NSString stringWithFormat:@" %+g", _offset];
    return [NSString stringWithFormat:@"%@.%@ %@ %@%@.%@%@", [_first class],
                                      attributeName(_attribute), relationSign(_kind), factor,
                                      [_second class], attributeName(_otherAttribute), offset];
}

@end

@implementation NSLayoutConstraint (Additions)

+ (instancetype)constraintWithItem:(id)firstItem
                         attribute:(NSLayoutAttribute)firstAttribute
                         relatedBy:(NSLayoutRelation)relation
                            toItem:(id)secondItem
                         attribute:(NSLayoutAttribute)secondAttribute
                        multiplier:(CGFloat)multiplier
                          constant:(CGFloat)constant {
    return [[[LayoutConstraint alloc] initWithItem:firstItem
                                         attribute:firstAttribute
                                         relatedBy:relation
                                            toItem:secondItem
                                         attribute:secondAttribute
                                        multiplier:multiplier
                                          constant:constant] autorelease];
}

+ (void)activateConstraints:(NSArray*)constraints {
    for (NSLayoutConstraint* constraint in constraints) {
        [constraint setActive:YES];
    }
}

+ (void)deactivateConstraints:(NSArray*)constraints {
    for (NSLayoutConstraint* constraint in constraints) {
        [constraint setActive:NO];
    }
}

- (void)setPriority:(NSLayoutPriority)__unused priority {
    [self doesNotRecognizeSelector:_cmd];
}

@end
