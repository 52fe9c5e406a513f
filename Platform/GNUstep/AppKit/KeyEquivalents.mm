// How a pressed key finds its menu item: the open menu is asked, or, with none open, every menu of
// the menu bar.

#include "AppKit/KeyEquivalents.h"

#include "AppKit/Habits.h"
#include "AppKit/MenuPanel.h"
#include "AppKit/StatusBar.h"
#include "ObjectiveC/MethodReplacement.h"

#import <AppKit/AppKit.h>

namespace {

using SendEvent = void(NSApplication*, SEL, NSEvent*);

SendEvent* sendEventToWindows = nullptr;

bool matches(NSMenuItem* item, NSEvent* event) {
    constexpr NSUInteger modifiers =
        NSCommandKeyMask | NSAlternateKeyMask | NSControlKeyMask | NSShiftKeyMask;
    return [item isEnabled] && [[item keyEquivalent] length] > 0 &&
           ([item view] == nil || habits().keysReachItemsWithViews) &&
           [[item keyEquivalent] isEqualToString:[event charactersIgnoringModifiers]] &&
           ([event modifierFlags] & modifiers) == ([item keyEquivalentModifierMask] & modifiers);
}

/// Whether the delegate answers for the menu's keys, and then has done what this one asks for.
struct DelegateAnswer {
    bool isGiven = false;
    bool isChosen = false;
};

DelegateAnswer askDelegate(NSMenu* menu, NSEvent* event) {
    id const delegate = [menu delegate];
    if (![delegate respondsToSelector:@selector(menuHasKeyEquivalent:forEvent:target:action:)]) {
        return {};
    }
    id target = nil;
    SEL action = nullptr;
    const bool has = [delegate menuHasKeyEquivalent:menu
                                           forEvent:event
                                             target:&target
                                             action:&action];
    return {true, has && [NSApp sendAction:action to:target from:menu]};
}

bool isChosenInStatusMenu(NSEvent* event) {
    for (NSMenu* menu in statusMenus()) {
        if ([menu performKeyEquivalent:event]) {
            return true;
        }
    }
    return false;
}

void sendEvent(NSApplication* application, SEL selector, NSEvent* event) {
    if ([event type] != NSKeyDown || !isCommandKey(event) || !isChosenInStatusMenu(event)) {
        sendEventToWindows(application, selector, event);
    }
}

} // namespace

bool isCommandKey(NSEvent* event) {
    return ([event modifierFlags] & NSCommandKeyMask) != 0;
}

void matchKeysAgainstStatusMenus() {
    sendEventToWindows = functionOf<SendEvent>(replaceInstanceMethod(
        [NSApplication class], @selector(sendEvent:), implementationOf(sendEvent)));
}

@implementation NSMenu (KeyEquivalents)

- (BOOL)performKeyEquivalent:(NSEvent*)event {
    if (const DelegateAnswer answer = askDelegate(self, event); answer.isGiven) {
        return answer.isChosen;
    }
    // The delegate may make the items only now.
    updateMenu(self);
    for (NSMenuItem* item in [self itemArray]) {
        if (matches(item, event)) {
            chooseItem(self, item);
            return YES;
        }
    }
    return NO;
}

@end
