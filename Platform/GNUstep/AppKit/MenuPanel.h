#pragma once

#import "AppKit/Panels.h"

#include "AppKit/XServer.h"
#include "ObjectiveC/Retained.h"

#include <memory>

/// A menu on the screen: one row per item, the item's view or its title.
@interface MenuPanel : RoundedPanel {
@private
    NSMenu* _shownMenu;
    Retained<NSArray> _shownItems;
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

/// Leaves the menu without a choice. Its window stays until whoever handles an event now is done.
- (void)cancelTracking;

/// The same, and the window is gone at once.
- (void)cancelTrackingWithoutAnimation;

/// Whether the menu waits for mouse and keyboard.
@property (readonly) BOOL isTracking;

@end

/// Lets the delegate update the menu. If the menu is open, its rows are those of the present items
/// afterwards.
void updateMenu(NSMenu* menu);

/// Sends the item's action: at once, or, if the menu is open, when it has been closed.
void chooseItem(NSMenu* menu, NSMenuItem* item);

/// Whether any menu waits for mouse and keyboard.
bool isAnyMenuTracking();

/// Updates the menu through its delegate, shows it below `anchor`, a rectangle of `bar`'s in screen
/// coordinates, until it is left, and sends the chosen item's action.
void popUpMenu(NSMenu* menu, NSRect anchor, NSWindow* bar);
