#pragma once

#include "Ownership/NSRef.h"

#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

@class PowerSwitchRowView;

namespace veilpane {
class DisplayStore;
} // namespace veilpane

/// The menu-bar application: a status item whose menu has one switch per display. Main thread only.
@interface AppDelegate : NSObject <NSApplicationDelegate, NSMenuDelegate> {
@private
    veilpane::NSRef<NSStatusItem> _statusItem;
    veilpane::DisplayStore* _store;
    std::optional<std::string> _lastMessage;
    std::map<CGDirectDisplayID, veilpane::NSRef<PowerSwitchRowView>> _powerRows;
    /// Rows hold it weakly, so that they can tell whether the delegate is still there.
    std::shared_ptr<AppDelegate*> _presence;
}

/// nil until the application has been launched.
@property (nonatomic, readonly) NSStatusItem* statusItem;

/// Ends the application. The action of the menu's quit item.
- (void)quit;

@end
