#pragma once

#include "Ownership/NSRef.h"

#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <functional>

/// Called with the new wanted state when the user has flipped a row's switch.
using ToggleHandler = std::function<void(bool)>;

/// A display's row in the menu: an icon, the display's name and, but for the main display, a
/// switch.
@interface PowerSwitchRowView : NSView {
@private
    CGDirectDisplayID _displayID;
    BOOL _isMain;
    ToggleHandler _onToggle;
    NSRef<NSTextField> _titleLabel;
    NSRef<NSSwitch> _powerSwitch;
    NSRef<NSImageView> _iconView;
}

- (instancetype)initWithDisplayID:(CGDirectDisplayID)displayID
                            title:(NSString*)title
                           isMain:(BOOL)isMain
                             isOn:(BOOL)isOn
                         onToggle:(ToggleHandler)onToggle;

- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
/// Ends the program: rows are never archived.
- (instancetype)initWithCoder:(NSCoder*)coder;

@property (nonatomic, readonly) CGDirectDisplayID displayID;
@property (nonatomic, readonly) BOOL isMain;
@property (nonatomic, readonly) NSTextField* titleLabel;
/// Not in the view of the main display's row.
@property (nonatomic, readonly) NSSwitch* powerSwitch;
@property (nonatomic, readonly) NSImageView* iconView;

/// Shows a state without calling the toggle handler.
- (void)showOn:(BOOL)isOn;

@end
