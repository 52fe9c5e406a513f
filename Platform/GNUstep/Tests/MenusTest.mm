// How menus behave as AppKit's do.

#include "ObjectiveC/Retained.h"
#include "Support/MenuBarTest.h"

#import <AppKit/AppKit.h>

namespace {

std::vector<std::string>* heard = nullptr;

} // namespace

@interface MenuListener : NSObject <NSMenuDelegate>
@end

@implementation MenuListener

- (void)menuNeedsUpdate:(NSMenu*)__unused menu {
    heard->push_back("needs update");
}

- (void)menuWillOpen:(NSMenu*)__unused menu {
    heard->push_back("will open");
}

- (void)menuDidClose:(NSMenu*)__unused menu {
    heard->push_back("did close");
}

- (void)choose:(NSMenuItem*)item {
    heard->push_back("chosen " + text([item title]));
}

@end

namespace {

using Heard = std::vector<std::string>;

class Menus : public MenuBarTest {
protected:
    Menus() {
        heard = &told;
        [menu.get() setDelegate:listener.get()];
        [menu.get() setAutoenablesItems:NO];
        [item.get() setMenu:menu.get()];
    }

    NSMenuItem* addItem(NSString* title, NSString* key, bool isEnabled = true) {
        NSMenuItem* const added = [[[NSMenuItem alloc] initWithTitle:title
                                                              action:@selector(choose:)
                                                       keyEquivalent:key] autorelease];
        [added setTarget:listener.get()];
        [added setEnabled:isEnabled];
        [menu.get() addItem:added];
        told.clear();
        return added;
    }

    static void press(NSString* characters, NSUInteger modifiers) {
        [NSApp postEvent:[NSEvent keyEventWithType:NSKeyDown
                                                location:NSZeroPoint
                                           modifierFlags:modifiers
                                               timestamp:0
                                            windowNumber:0
                                                 context:nil
                                              characters:characters
                             charactersIgnoringModifiers:characters
                                               isARepeat:NO
                                                 keyCode:0]
                 atStart:NO];
    }

    // Returns when the keys that were pressed before have closed the menu again.
    void open() { [[item.get() button] mouseDown:nil]; }

    Heard told;
    Retained<MenuListener> listener = Retained<MenuListener>::adopt([MenuListener new]);
    Retained<NSMenu> menu = Retained<NSMenu>::adopt([[NSMenu alloc] init]);
    Retained<NSStatusItem> item = Retained<NSStatusItem>(
        [[NSStatusBar systemStatusBar] statusItemWithLength:NSVariableStatusItemLength]);
};

TEST_F(Menus, the_delegate_is_asked_once_before_the_menu_opens) {
    press(@"\x1B", 0);
    open();
    EXPECT_EQ(told, (Heard{"needs update", "will open", "did close"}));
}

TEST_F(Menus, a_key_equivalent_closes_the_menu_and_then_sends_the_action) {
    addItem(@"Other", @"o");
    addItem(@"Wanted", @"w");
    press(@"w", NSCommandKeyMask);
    open();
    EXPECT_EQ(told, (Heard{"needs update", "will open", "did close", "chosen Wanted"}));
}

TEST_F(Menus, a_key_equivalent_works_for_an_item_with_a_view_too) {
    NSView* const view = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 100, 20)] autorelease];
    [addItem(@"Viewed", @"v") setView:view];
    press(@"v", NSCommandKeyMask);
    open();
    EXPECT_EQ(told.back(), "chosen Viewed");
    EXPECT_EQ([view superview], nil) << "the view is free for the next opening";
}

TEST_F(Menus, other_modifiers_and_disabled_items_do_not_match) {
    addItem(@"Wanted", @"w");
    addItem(@"Disabled", @"d", false);
    press(@"w", 0);
    press(@"w", NSCommandKeyMask | NSAlternateKeyMask);
    press(@"d", NSCommandKeyMask);
    press(@"\x1B", 0);
    open();
    EXPECT_EQ(told, (Heard{"needs update", "will open", "did close"}));
}

TEST_F(Menus, cancel_tracking_closes_an_open_menu_only) {
    [menu.get() cancelTracking];
    [menu.get() performSelector:@selector(cancelTracking)
                     withObject:nil
                     afterDelay:0
                        inModes:@[ NSEventTrackingRunLoopMode ]];
    open();
    EXPECT_EQ(told, (Heard{"needs update", "will open", "did close"}));
}

TEST_F(Menus, all_items_can_be_removed) {
    addItem(@"One", @"");
    addItem(@"Two", @"");
    [menu.get() removeAllItems];
    EXPECT_EQ([menu.get() numberOfItems], 0);
}

TEST_F(Menus, an_item_of_variable_length_is_as_wide_as_its_image_and_its_padding) {
    NSImage* const image = [NSImage imageWithSize:NSMakeSize(40, 18)
                                          flipped:NO
                                   drawingHandler:^BOOL(NSRect) {
                                       return YES;
                                   }];
    [[item.get() button] setImagePosition:NSImageOnly];
    [[item.get() button] setImage:image];
    EXPECT_EQ(NSWidth([[item.get() button] frame]), 46);
    [item.get() setLength:70];
    EXPECT_EQ(NSWidth([[item.get() button] frame]), 70);
}

TEST_F(Menus, a_newer_item_stands_to_the_left_and_a_released_one_leaves_the_bar) {
    @autoreleasepool {
        NSStatusItem* const newer = [[NSStatusBar systemStatusBar] statusItemWithLength:50];
        EXPECT_LT(NSMaxX([[newer button] frame]), NSMinX([[item.get() button] frame]));
        EXPECT_EQ([[[[item.get() button] superview] subviews] count], 2U);
    }
    EXPECT_EQ([[[[item.get() button] superview] subviews] count], 1U);
}

class Images : public MenuBarTest {};

TEST_F(Images, there_is_no_image_for_an_unknown_symbol) {
    EXPECT_EQ([NSImage imageWithSystemSymbolName:@"no.such.symbol" accessibilityDescription:nil],
              nil);
}

TEST_F(Images, symbols_are_template_images) {
    for (NSString* name in @[ @"display", @"display.2" ]) {
        NSImage* const symbol = [NSImage imageWithSystemSymbolName:name
                                          accessibilityDescription:nil];
        ASSERT_NE(symbol, nil) << text(name);
        EXPECT_TRUE([symbol isTemplate]);
    }
}

TEST_F(Images, an_image_is_drawn_by_its_handler_each_time) {
    __block int count = 0;
    NSImage* const image = [NSImage imageWithSize:NSMakeSize(4, 4)
                                          flipped:NO
                                   drawingHandler:^BOOL(NSRect rect) {
                                       count += NSEqualRects(rect, NSMakeRect(0, 0, 4, 4));
                                       return YES;
                                   }];
    EXPECT_FALSE([image isTemplate]);
    NSImage* const canvas = [[[NSImage alloc] initWithSize:NSMakeSize(8, 8)] autorelease];
    [canvas lockFocus];
    for (int times = 0; times < 2; ++times) {
        [image drawInRect:NSMakeRect(0, 0, 8, 8)
                 fromRect:NSZeroRect
                operation:NSCompositeSourceOver
                 fraction:1];
    }
    [canvas unlockFocus];
    EXPECT_EQ(count, 2);
}

} // namespace
