#import "Veilpane/Menu/MenuLabelRowView.h"

#include "Ownership/NSRef.h"
#include "Veilpane/Menu/MenuMetrics.h"
#include "Veilpane/Support/FatalError.h"

@implementation MenuLabelRowView

- (instancetype)initWithText:(NSString*)text
                        font:(NSFont*)font
                       color:(NSColor*)color
                trailingText:(NSString*)trailingText
                      height:(CGFloat)height {
    auto label = veilpane::NSRef<NSTextField>::retain([NSTextField labelWithString:@""]);
    auto trailing = veilpane::NSRef<NSTextField>::retain([NSTextField labelWithString:@""]);
    self = [super initWithFrame:NSZeroRect];
    if (self == nil) {
        return nil;
    }
    _label = std::move(label);
    _trailing = std::move(trailing);
    [self setTranslatesAutoresizingMaskIntoConstraints:NO];
    [self addLabelWithText:text font:font color:color];
    NSMutableArray* const constraints = [self constraintsForHeight:height];
    if (trailingText != nil) {
        [self addTrailingText:trailingText];
        [constraints addObjectsFromArray:[self trailingConstraints]];
    }
    [NSLayoutConstraint activateConstraints:constraints];
    return self;
}

- (instancetype)initWithCoder:(NSCoder*)__unused coder {
    veilpane::fatalError("init(coder:) has not been implemented");
}

- (NSTextField*)label {
    return _label.get();
}

- (NSTextField*)trailing {
    return _trailing.get();
}

- (void)addLabelWithText:(NSString*)text font:(NSFont*)font color:(NSColor*)color {
    NSTextField* const label = _label.get();
    [label setStringValue:text];
    [label setFont:font];
    [label setTextColor:color];
    [label setLineBreakMode:NSLineBreakByTruncatingTail];
    [label setTranslatesAutoresizingMaskIntoConstraints:NO];
    [self addSubview:label];
}

- (void)addTrailingText:(NSString*)text {
    NSTextField* const trailing = _trailing.get();
    [trailing setStringValue:text];
    [trailing setFont:[NSFont systemFontOfSize:12]];
    [trailing setTextColor:[NSColor secondaryLabelColor]];
    [trailing setTranslatesAutoresizingMaskIntoConstraints:NO];
    // Where both do not fit, the text is cut and not the trailing one.
    [_label.get() setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                           forOrientation:NSLayoutConstraintOrientationHorizontal];
    [self addSubview:trailing];
}

- (NSMutableArray*)constraintsForHeight:(CGFloat)height {
    NSTextField* const label = _label.get();
    return [NSMutableArray
        arrayWithObjects:[[label leadingAnchor] constraintEqualToAnchor:[self leadingAnchor]
                                                               constant:veilpane::menuSideMargin],
                         [[label trailingAnchor]
                             constraintLessThanOrEqualToAnchor:[self trailingAnchor]
                                                      constant:-veilpane::menuSideMargin],
                         [[label centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         [[self heightAnchor] constraintEqualToConstant:height],
                         [[self widthAnchor] constraintEqualToConstant:veilpane::menuRowWidth],
                         nil];
}

- (NSArray*)trailingConstraints {
    NSTextField* const trailing = _trailing.get();
    return [NSArray
        arrayWithObjects:[[trailing trailingAnchor]
                             constraintEqualToAnchor:[self trailingAnchor]
                                            constant:-veilpane::menuSideMargin],
                         [[trailing centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         [[_label.get() trailingAnchor]
                             constraintLessThanOrEqualToAnchor:[trailing leadingAnchor]
                                                      constant:-8],
                         nil];
}

@end
