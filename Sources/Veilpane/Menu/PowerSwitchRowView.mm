#import "Veilpane/Menu/PowerSwitchRowView.h"

#include "Ownership/NSRef.h"
#include "Veilpane/Menu/MenuMetrics.h"
#include "Veilpane/Support/FatalError.h"

namespace veilpane {

namespace {

constexpr CGFloat rowHeight = 40;
constexpr CGFloat iconSize = 18;

} // namespace

} // namespace veilpane

@implementation PowerSwitchRowView

- (instancetype)initWithDisplayID:(CGDirectDisplayID)displayID
                            title:(NSString*)title
                           isMain:(bool)isMain
                             isOn:(bool)isOn
                         onToggle:(veilpane::ToggleHandler)onToggle {
    auto titleLabel = veilpane::NSRef<NSTextField>::retain([NSTextField labelWithString:@""]);
    auto powerSwitch =
        veilpane::NSRef<NSSwitch>::adopt([[NSSwitch alloc] initWithFrame:NSZeroRect]);
    auto iconView =
        veilpane::NSRef<NSImageView>::adopt([[NSImageView alloc] initWithFrame:NSZeroRect]);
    self = [super initWithFrame:NSZeroRect];
    if (self == nil) {
        return nil;
    }
    _displayID = displayID;
    _isMain = isMain;
    _onToggle = std::move(onToggle);
    _titleLabel = std::move(titleLabel);
    _powerSwitch = std::move(powerSwitch);
    _iconView = std::move(iconView);
    [self setUpIcon];
    [self setUpTitle:title];
    [self setUpSwitch:isOn];
    [self addSubviews];
    [self activateConstraints];
    [self setTranslatesAutoresizingMaskIntoConstraints:NO];
    return self;
}

- (instancetype)initWithCoder:(NSCoder*)__unused coder {
    veilpane::fatalError("init(coder:) has not been implemented");
}

- (CGDirectDisplayID)displayID {
    return _displayID;
}

- (bool)isMain {
    return _isMain;
}

- (NSTextField*)titleLabel {
    return _titleLabel.get();
}

- (NSSwitch*)powerSwitch {
    return _powerSwitch.get();
}

- (NSImageView*)iconView {
    return _iconView.get();
}

- (void)showOn:(bool)isOn {
    [_powerSwitch.get() setState:isOn ? NSControlStateValueOn : NSControlStateValueOff];
    [self tellScreenReaders];
}

- (void)tellScreenReaders {
    NSString* const state = [_powerSwitch.get() state] == NSControlStateValueOn ? @"，开" : @"，关";
    NSString* const told = [[[_titleLabel.get() stringValue]
        stringByAppendingString:_isMain ? @"，主屏" : @""] stringByAppendingString:state];
    [self setAccessibilityLabel:told];
    [_powerSwitch.get() setAccessibilityLabel:told];
    if (_isMain) {
        // The row itself is a plain view, which a screen reader may pass over.
        [_titleLabel.get() setAccessibilityLabel:told];
    }
}

- (void)setUpIcon {
    NSImageView* const icon = _iconView.get();
    [icon setImage:[NSImage imageWithSystemSymbolName:_isMain ? @"display" : @"display.2"
                             accessibilityDescription:nil]];
    [icon setImageScaling:NSImageScaleProportionallyUpOrDown];
    [icon setContentTintColor:[NSColor secondaryLabelColor]];
    [icon setTranslatesAutoresizingMaskIntoConstraints:NO];
}

- (void)setUpTitle:(NSString*)title {
    NSTextField* const label = _titleLabel.get();
    [label setStringValue:title];
    [label setFont:[NSFont systemFontOfSize:13 weight:NSFontWeightMedium]];
    [label setTextColor:[NSColor labelColor]];
    [label setLineBreakMode:NSLineBreakByTruncatingTail];
    [label setTranslatesAutoresizingMaskIntoConstraints:NO];
    if (!_isMain) {
        // Where both do not fit, the name is cut and not the switch.
        [label setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                        forOrientation:NSLayoutConstraintOrientationHorizontal];
    }
}

- (void)setUpSwitch:(bool)isOn {
    NSSwitch* const powerSwitch = _powerSwitch.get();
    [powerSwitch setControlSize:NSControlSizeSmall];
    [self showOn:isOn];
    [powerSwitch setEnabled:YES];
    [powerSwitch setTarget:self];
    [powerSwitch setAction:@selector(switchChanged:)];
    [powerSwitch setTranslatesAutoresizingMaskIntoConstraints:NO];
}

- (void)addSubviews {
    [self addSubview:_iconView.get()];
    [self addSubview:_titleLabel.get()];
    if (!_isMain) {
        [self addSubview:_powerSwitch.get()];
    }
}

- (void)activateConstraints {
    NSMutableArray* const constraints = [self iconConstraints];
    [constraints addObjectsFromArray:_isMain ? [self titleConstraintsWithoutSwitch]
                                             : [self titleConstraintsBesideSwitch]];
    [constraints addObjectsFromArray:[self sizeConstraints]];
    [NSLayoutConstraint activateConstraints:constraints];
}

- (NSMutableArray*)iconConstraints {
    NSImageView* const icon = _iconView.get();
    return [NSMutableArray
        arrayWithObjects:[[icon leadingAnchor] constraintEqualToAnchor:[self leadingAnchor]
                                                              constant:veilpane::menuSideMargin],
                         [[icon centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         [[icon widthAnchor] constraintEqualToConstant:veilpane::iconSize],
                         [[icon heightAnchor] constraintEqualToConstant:veilpane::iconSize],
                         [[_titleLabel.get() leadingAnchor]
                             constraintEqualToAnchor:[icon trailingAnchor]
                                            constant:10],
                         nil];
}

- (NSArray*)titleConstraintsWithoutSwitch {
    NSTextField* const title = _titleLabel.get();
    return [NSArray
        arrayWithObjects:[[title trailingAnchor] constraintEqualToAnchor:[self trailingAnchor]
                                                                constant:-veilpane::menuSideMargin],
                         [[title centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]], nil];
}

- (NSArray*)titleConstraintsBesideSwitch {
    NSTextField* const title = _titleLabel.get();
    NSSwitch* const powerSwitch = _powerSwitch.get();
    return [NSArray
        arrayWithObjects:[[title trailingAnchor]
                             constraintLessThanOrEqualToAnchor:[powerSwitch leadingAnchor]
                                                      constant:-12],
                         [[title centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         [[powerSwitch trailingAnchor]
                             constraintEqualToAnchor:[self trailingAnchor]
                                            constant:-veilpane::menuSideMargin],
                         [[powerSwitch centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         nil];
}

- (NSArray*)sizeConstraints {
    return [NSArray
        arrayWithObjects:[[self heightAnchor] constraintEqualToConstant:veilpane::rowHeight],
                         [[self widthAnchor] constraintEqualToConstant:veilpane::menuRowWidth],
                         nil];
}

- (void)switchChanged:(id)__unused sender {
    const bool wantsOn = [_powerSwitch.get() state] == NSControlStateValueOn;
    if (_isMain && !wantsOn) {
        [self showOn:true];
        NSBeep();
        return;
    }
    [self tellScreenReaders];
    // The handler may rebuild the menu and with it let go of this row.
    veilpane::keepUntilPoolDrains(self);
    if (_onToggle) {
        _onToggle(wantsOn);
    }
}

@end
