#pragma once

#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <functional>

/// Called with the new wanted state when the user has flipped a row's switch.
using ToggleHandler = std::function<void(bool)>;

/// A display's row in the menu: an icon, the display's name and, but for the main display, a
/// switch.
@interface PowerSwitchRowView : NSView

- (instancetype)initWithDisplayID:(CGDirectDisplayID)displayID
                            title:(NSString*)title
                           isMain:(BOOL)isMain
                             isOn:(BOOL)isOn
                         onToggle:(ToggleHandler)onToggle NS_DESIGNATED_INITIALIZER;

- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
/// Ends the program: rows are never archived.
- (instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;

@property (nonatomic, readonly) CGDirectDisplayID displayID;
@property (nonatomic, readonly) BOOL isMain;
@property (nonatomic, readonly) NSTextField* titleLabel;
/// Not in the view of the main display's row.
@property (nonatomic, readonly) NSSwitch* powerSwitch;
@property (nonatomic, readonly) NSImageView* iconView;

/// Shows a state without calling the toggle handler.
- (void)showOn:(BOOL)isOn;

@end
