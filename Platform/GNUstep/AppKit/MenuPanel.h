#pragma once

#import "AppKit/Panels.h"

#include "AppKit/XServer.h"

#include <memory>

/// A menu on the screen: one row per item, the item's view or its title.
@interface MenuPanel : RoundedPanel {
@private
    NSMenu* _shownMenu;
    NSMenuItem* _chosen;
    BOOL _isDone;
    NSWindow* _bar;
    /// While the menu waits. A row's control gets the pointer for itself, as it may show windows.
    std::unique_ptr<PointerGrab> _grab;
}

- (instancetype)initWithMenu:(NSMenu*)menu;

/// Follows mouse and keyboard until the menu is left. `bar` is the window that the menu hangs on.
/// Returns the item that was chosen, or nil.
- (NSMenuItem*)trackWithBar:(NSWindow*)bar;

/// Leaves the menu without a choice.
- (void)cancelTracking;

@end

/// Updates the menu through its delegate, shows it below `anchor`, a rectangle of `bar`'s in screen
/// coordinates, until it is left, and sends the chosen item's action.
void popUpMenu(NSMenu* menu, NSRect anchor, NSWindow* bar);
