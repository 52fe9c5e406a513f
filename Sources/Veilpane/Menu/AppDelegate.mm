#import "Veilpane/Menu/AppDelegate.h"

#include "Ownership/NSRef.h"
#include "Veilpane/Inventory/DisplayStore.h"
#include "Veilpane/Menu/EventLog.h"
#include "Veilpane/Menu/FailureAlert.h"
#import "Veilpane/Menu/MenuLabelRowView.h"
#include "Veilpane/Menu/MenuText.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"
#include "Veilpane/Menu/StatusIcon.h"
#import "Veilpane/Menu/StatusMenu.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayDisconnect.h"
#include "Veilpane/Power/DisplayPower.h"
#include "Veilpane/Support/FatalError.h"
#include "Veilpane/Support/UTF8Text.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace veilpane {

namespace {

// Only what this program records itself counts: a monitor that DDC put in standby is on.
bool currentlyOn(CGDirectDisplayID displayID) {
    return !DisplayDisconnect::isDisconnectedByUs(displayID) &&
           !BlackoutController::shared().isBlackedOut(displayID);
}

NSMenuItem* makeItem(NSView* view, bool enabled) {
    // A menu's row is as large as its view's frame; that it heeds constraints is nowhere promised.
    [view setFrameSize:[view fittingSize]];
    NSMenuItem* const item = [[[NSMenuItem alloc] initWithTitle:@""
                                                         action:nullptr
                                                  keyEquivalent:@""] autorelease];
    [item setView:view];
    [item setEnabled:enabled];
    return item;
}

} // namespace

} // namespace veilpane

@implementation AppDelegate

- (instancetype)init {
    self = [super init];
    if (self != nil) {
        _store = &veilpane::DisplayStore::shared();
        _presence = std::make_shared<AppDelegate*>(self);
    }
    return self;
}

- (NSStatusItem*)statusItem {
    return _statusItem.get();
}

- (void)applicationDidFinishLaunching:(NSNotification*)__unused notification {
    if (_statusItem) {
        veilpane::EventLog::log(@"didFinishLaunching already done — ignore");
        return;
    }
    veilpane::EventLog::log(@"applicationDidFinishLaunching");
    // The status bar does not retain its items.
    _statusItem = veilpane::NSRef<NSStatusItem>::retain(
        [[NSStatusBar systemStatusBar] statusItemWithLength:NSVariableStatusItemLength]);
    NSStatusBarButton* const button = [_statusItem.get() button];
    if (button == nil) {
        veilpane::EventLog::log(@"ERROR: statusItem.button is nil");
        return;
    }
    [self setUpButton:button];
    [_statusItem.get() setMenu:[self makeMenu]];
    veilpane::EventLog::log([@"status item created image=true buttonWidth="
        stringByAppendingString:veilpane::EventLog::shortestDecimal([button frame].size.width)]);
}

- (void)applicationWillTerminate:(NSNotification*)__unused notification {
    veilpane::BlackoutController::shared().restoreAll();
}

// AppKit warns on standard error of a delegate that does not say so.
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)__unused application {
    return YES;
}

- (void)menuNeedsUpdate:(NSMenu*)menu {
    [menu removeAllItems];
    _powerRows.clear();
    const auto displays = _store->listDisplays();
    [menu addItem:[self makeLabelItemWithText:@"显示器"
                                         font:[NSFont systemFontOfSize:11
                                                                weight:NSFontWeightSemibold]
                                        color:[NSColor secondaryLabelColor]
                                 trailingText:nil
                                       height:30]];
    [self addDisplays:displays toMenu:menu];
    [menu addItem:[NSMenuItem separatorItem]];
    [self addLastMessageToMenu:menu];
    [menu addItem:[self makeQuitItem]];
    [menu addItem:[self makeLabelItemWithText:@" "
                                         font:[NSFont systemFontOfSize:4]
                                        color:[NSColor clearColor]
                                 trailingText:nil
                                       height:8]];
}

// Without it AppKit has the menu rebuilt to look for any key that is pressed together with Command.
- (BOOL)menuHasKeyEquivalent:(NSMenu*)__unused menu
                    forEvent:(NSEvent*)event
                      target:(id*)target
                      action:(SEL*)action {
    if (!veilpane::isCommandQ(event)) {
        return NO;
    }
    *target = self;
    *action = @selector(quit);
    return YES;
}

- (void)quit {
    if (NSApp == nil) {
        veilpane::fatalError("there is no application to quit");
    }
    // The displays are restored and the process ends within this call: no menu may wait for it.
    [[_statusItem.get() menu] cancelTracking];
    [NSApp terminate:nil];
}

- (void)setUpButton:(NSStatusBarButton*)button {
    NSImage* const icon = veilpane::makeStatusIcon();
    [icon setTemplate:YES];
    [button setImage:icon];
    [button setImagePosition:NSImageOnly];
    [button setTitle:@""];
    [button setFont:[NSFont menuBarFontOfSize:0]];
    [button setToolTip:@"显示器开关"];
    [button setAccessibilityLabel:@"显示器开关"];
}

- (NSMenu*)makeMenu {
    NSMenu* const menu = [[[StatusMenu alloc] init] autorelease];
    [menu setDelegate:self];
    [menu setAutoenablesItems:NO];
    return menu;
}

- (void)addDisplays:(const std::vector<veilpane::DisplayItem>&)displays toMenu:(NSMenu*)menu {
    if (displays.empty()) {
        [menu addItem:[self makeLabelItemWithText:@"未检测到显示器"
                                             font:[NSFont systemFontOfSize:13]
                                            color:[NSColor tertiaryLabelColor]
                                     trailingText:nil
                                           height:40]];
    }
    for (const veilpane::DisplayItem& display : displays) {
        if (&display != &displays.front()) {
            [menu addItem:[NSMenuItem separatorItem]];
        }
        [menu addItem:[self makePowerItemFor:display]];
    }
}

- (void)addLastMessageToMenu:(NSMenu*)menu {
    if (!_lastMessage) {
        return;
    }
    [menu addItem:[self makeLabelItemWithText:veilpane::shortenedForMenu(
                                                  veilpane::nsString(*_lastMessage))
                                         font:[NSFont systemFontOfSize:11]
                                        color:[NSColor tertiaryLabelColor]
                                 trailingText:nil
                                       height:28]];
    [menu addItem:[NSMenuItem separatorItem]];
}

- (NSMenuItem*)makeLabelItemWithText:(NSString*)text
                                font:(NSFont*)font
                               color:(NSColor*)color
                        trailingText:(NSString*)trailingText
                              height:(CGFloat)height {
    const auto view =
        veilpane::NSRef<MenuLabelRowView>::adopt([[MenuLabelRowView alloc] initWithText:text
                                                                                   font:font
                                                                                  color:color
                                                                           trailingText:trailingText
                                                                                 height:height]);
    return veilpane::makeItem(view.get(), false);
}

- (NSMenuItem*)makePowerItemFor:(const veilpane::DisplayItem&)display {
    const std::weak_ptr<AppDelegate*> presence = _presence;
    const CGDirectDisplayID displayID = display.id;
    auto onToggle = [presence, displayID](bool wantsOn) {
        if (const auto present = presence.lock()) {
            [*present handleToggleWithDisplayID:displayID wantsOn:wantsOn];
        }
    };
    auto row = veilpane::NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc]
        initWithDisplayID:displayID
                    title:veilpane::nsString(display.name)
                   isMain:display.isMain
                     isOn:veilpane::currentlyOn(displayID)
                 onToggle:std::move(onToggle)]);
    NSMenuItem* const item = veilpane::makeItem(row.get(), true);
    _powerRows.insert_or_assign(displayID, std::move(row));
    return item;
}

- (NSMenuItem*)makeQuitItem {
    const auto view = veilpane::NSRef<MenuLabelRowView>::adopt([[MenuLabelRowView alloc]
        initWithText:@"退出"
                font:[NSFont systemFontOfSize:13]
               color:[NSColor labelColor]
        trailingText:@"⌘Q"
              height:32]);
    // AppKit sends an item's action for no click on its view.
    const auto click = veilpane::NSRef<NSClickGestureRecognizer>::adopt(
        [[NSClickGestureRecognizer alloc] initWithTarget:self action:@selector(quit)]);
    [view.get() addGestureRecognizer:click.get()];
    NSMenuItem* const item = veilpane::makeItem(view.get(), true);
    [item setTarget:self];
    [item setAction:@selector(quit)];
    [item setKeyEquivalent:@"q"];
    return item;
}

- (void)handleToggleWithDisplayID:(CGDirectDisplayID)displayID wantsOn:(bool)wantsOn {
    // The alert runs the event loop, which may let go of this object.
    veilpane::keepUntilPoolDrains(self);
    if (!wantsOn && CGDisplayIsMain(displayID) != 0) {
        _lastMessage = "主屏禁止关闭";
        [self showDisplay:displayID asOn:true];
        NSBeep();
        return;
    }
    const veilpane::PowerResult result = veilpane::DisplayPower::setPower(wantsOn, displayID);
    _lastMessage = (wantsOn ? "开： " : "关： ") + result.message;
    [self showDisplay:displayID asOn:veilpane::currentlyOn(displayID)];
    if (!result.success) {
        // An alert that runs while the menu still waits may leave both dead. With the animation an
        // invisible window may go on taking clicks.
        [[_statusItem.get() menu] cancelTrackingWithoutAnimation];
        veilpane::showAlert(wantsOn, displayID, result);
    }
}

- (void)showDisplay:(CGDirectDisplayID)displayID asOn:(bool)isOn {
    const auto row = _powerRows.find(displayID);
    if (row != _powerRows.end() && ![row->second.get() isMain]) {
        [row->second.get() showOn:isOn];
    }
}

@end
