#import "Veilpane/Menu/PowerSwitchRowView.h"

#include "Ownership/NSRef.h"
#include "Veilpane/Menu/MenuMetrics.h"
#include "Veilpane/Support/FatalError.h"

using MenuMetrics::rowWidth;
using MenuMetrics::sideMargin;

namespace {

constexpr CGFloat rowHeight = 40;
constexpr CGFloat iconSize = 18;

} // namespace

@implementation PowerSwitchRowView

- (instancetype)initWithDisplayID:(CGDirectDisplayID)displayID
                            title:(NSString*)title
                           isMain:(BOOL)isMain
                             isOn:(BOOL)isOn
                         onToggle:(ToggleHandler)onToggle {
    auto titleLabel = NSRef<NSTextField>::retain([NSTextField labelWithString:@""]);
    auto powerSwitch = NSRef<NSSwitch>::adopt([[NSSwitch alloc] initWithFrame:NSZeroRect]);
    auto iconView = NSRef<NSImageView>::adopt([[NSImageView alloc] initWithFrame:NSZeroRect]);
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
    [self addSubview:_iconView.get()];
    [self addSubview:_titleLabel.get()];
    NSMutableArray* const constraints = [self iconConstraints];
    [constraints addObjectsFromArray:isMain ? [self titleConstraintsWithoutSwitch]
                                            : [self titleConstraintsBesideSwitch]];
    [constraints addObjectsFromArray:[self sizeConstraints]];
    [NSLayoutConstraint activateConstraints:constraints];
    [self setTranslatesAutoresizingMaskIntoConstraints:NO];
    return self;
}

- (instancetype)initWithCoder:(NSCoder*)__unused coder {
    fatalError("init(coder:) has not been implemented");
}

- (CGDirectDisplayID)displayID {
    return _displayID;
}

- (BOOL)isMain {
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

- (void)showOn:(BOOL)isOn {
    [_powerSwitch.get() setState:isOn ? NSControlStateValueOn : NSControlStateValueOff];
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
}

- (void)setUpSwitch:(BOOL)isOn {
    NSSwitch* const powerSwitch = _powerSwitch.get();
    [powerSwitch setControlSize:NSControlSizeSmall];
    [self showOn:isOn];
    [powerSwitch setEnabled:YES];
    [powerSwitch setTarget:self];
    [powerSwitch setAction:@selector(switchChanged:)];
    [powerSwitch setTranslatesAutoresizingMaskIntoConstraints:NO];
}

- (NSMutableArray*)iconConstraints {
    NSImageView* const icon = _iconView.get();
    return [NSMutableArray
        arrayWithObjects:[[icon leadingAnchor] constraintEqualToAnchor:[self leadingAnchor]
                                                              constant:sideMargin],
                         [[icon centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         [[icon widthAnchor] constraintEqualToConstant:iconSize],
                         [[icon heightAnchor] constraintEqualToConstant:iconSize],
                         [[_titleLabel.get() leadingAnchor]
                             constraintEqualToAnchor:[icon trailingAnchor]
                                            constant:10],
                         nil];
}

- (NSArray*)titleConstraintsWithoutSwitch {
    NSTextField* const title = _titleLabel.get();
    return [NSArray
        arrayWithObjects:[[title trailingAnchor] constraintEqualToAnchor:[self trailingAnchor]
                                                                constant:-sideMargin],
                         [[title centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]], nil];
}

- (NSArray*)titleConstraintsBesideSwitch {
    NSTextField* const title = _titleLabel.get();
    NSSwitch* const powerSwitch = _powerSwitch.get();
    [self addSubview:powerSwitch];
    return [NSArray
        arrayWithObjects:[[title trailingAnchor]
                             constraintLessThanOrEqualToAnchor:[powerSwitch leadingAnchor]
                                                      constant:-12],
                         [[title centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         [[powerSwitch trailingAnchor] constraintEqualToAnchor:[self trailingAnchor]
                                                                      constant:-sideMargin],
                         [[powerSwitch centerYAnchor] constraintEqualToAnchor:[self centerYAnchor]],
                         nil];
}

- (NSArray*)sizeConstraints {
    return [NSArray arrayWithObjects:[[self heightAnchor] constraintEqualToConstant:rowHeight],
                                     [[self widthAnchor] constraintEqualToConstant:rowWidth], nil];
}

- (void)switchChanged:(id)__unused sender {
    const bool wantsOn = [_powerSwitch.get() state] == NSControlStateValueOn;
    if (_isMain && !wantsOn) {
        [self showOn:YES];
        NSBeep();
        return;
    }
    // The handler may rebuild the menu and with it let go of this row.
    keepUntilPoolDrains(self);
    _onToggle(wantsOn);
}

@end
