#pragma once

#include "Ownership/NSRef.h"

#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <functional>

namespace veilpane {

/// Called with the new wanted state when the user has flipped a row's switch. An empty one is never
/// called: flipping the switch then only moves it.
using ToggleHandler = std::function<void(bool)>;

} // namespace veilpane

/// A display's row in the menu: an icon, the display's name and, but for the main display, a
/// switch. Row and switch tell screen readers the display's name and whether it is on.
@interface PowerSwitchRowView : NSView {
@private
    CGDirectDisplayID _displayID;
    bool _isMain;
    veilpane::ToggleHandler _onToggle;
    veilpane::NSRef<NSTextField> _titleLabel;
    veilpane::NSRef<NSSwitch> _powerSwitch;
    veilpane::NSRef<NSImageView> _iconView;
}

- (instancetype)initWithDisplayID:(CGDirectDisplayID)displayID
                            title:(NSString*)title
                           isMain:(bool)isMain
                             isOn:(bool)isOn
                         onToggle:(veilpane::ToggleHandler)onToggle;

- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
/// Ends the program: rows are never archived.
- (instancetype)initWithCoder:(NSCoder*)coder;

@property (nonatomic, readonly) CGDirectDisplayID displayID;
@property (nonatomic, readonly) bool isMain;
@property (nonatomic, readonly) NSTextField* titleLabel;
/// Not in the view of the main display's row.
@property (nonatomic, readonly) NSSwitch* powerSwitch;
@property (nonatomic, readonly) NSImageView* iconView;

/// Shows a state without calling the toggle handler.
- (void)showOn:(bool)isOn;

@end
