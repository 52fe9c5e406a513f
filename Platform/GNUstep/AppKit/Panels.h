#pragma once

#import <AppKit/AppKit.h>

/// A borderless panel with rounded corners and a shadow, around which the screen is seen as it was
/// when the panel came up.
@interface RoundedPanel : NSPanel

/// `size` is that of the visible panel, without its shadow.
- (instancetype)initWithContentSize:(NSSize)size
                       cornerRadius:(CGFloat)radius
                              level:(NSInteger)level;

/// Puts the visible panel's upper left corner at this point of the screen and shows the panel as
/// the key window.
- (void)showAtTopLeft:(NSPoint)corner;

/// The visible panel, in the window's coordinates. Rows and controls are placed in it.
@property (readonly) NSRect panelRect;

/// The visible panel's upper left corner on the screen.
@property (readonly) NSPoint topLeft;

/// Gives the visible panel another size, for showAtTopLeft: to come.
- (void)resizePanel:(NSSize)size;

@end
