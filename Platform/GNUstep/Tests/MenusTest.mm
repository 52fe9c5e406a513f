// How menus behave as AppKit's do.

#include "AppKit/Panels.h"
#include "ObjectiveC/Retained.h"
#include "Support/MenuBarTest.h"

#import <AppKit/AppKit.h>

#include <csignal>
#include <functional>

namespace {

std::vector<std::string>* heard = nullptr;
// What the delegate does when the menu needs an update.
std::function<void(NSMenu*)> rebuilding;
std::function<void()> looking;

} // namespace

@interface MenuListener : NSObject <NSMenuDelegate>
/// Looks at the open menu.
- (void)look;
- (void)recognize:(id)recognizer;
- (void)flip:(id)control;
@end

@implementation MenuListener

- (void)menuNeedsUpdate:(NSMenu*)menu {
    heard->push_back("needs update");
    if (rebuilding) {
        rebuilding(menu);
    }
}

- (void)look {
    looking();
}

- (void)menuWillOpen:(NSMenu*)__unused menu {
    heard->push_back("will open");
}

- (void)menuDidClose:(NSMenu*)__unused menu {
    heard->push_back("did close");
}

- (void)recognize:(id)__unused recognizer {
    heard->push_back("recognized");
}

- (void)flip:(id)__unused control {
    heard->push_back("flipped");
}

- (void)choose:(NSMenuItem*)item {
    heard->push_back("chosen " + text([item title]));
}

@end

/// Hears that the application is to terminate, and cancels that.
@interface TerminationWitness : NSObject {
@public
    bool* hasBeenAsked;
}
@end

@implementation TerminationWitness

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)__unused application {
    *hasBeenAsked = true;
    return NSTerminateCancel;
}

@end

/// Answers for the keys of its menu: W is one of them.
@interface KeyAnswerer : MenuListener
@end

@implementation KeyAnswerer

- (BOOL)menuHasKeyEquivalent:(NSMenu*)__unused menu
                    forEvent:(NSEvent*)event
                      target:(id*)target
                      action:(SEL*)action {
    *target = self;
    *action = @selector(recognize:);
    return [[event characters] isEqualToString:@"w"];
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

    static NSEvent* key(NSString* characters, NSUInteger modifiers) {
        return [NSEvent keyEventWithType:NSKeyDown
                                location:NSZeroPoint
                           modifierFlags:modifiers
                               timestamp:0
                            windowNumber:0
                                 context:nil
                              characters:characters
             charactersIgnoringModifiers:characters
                               isARepeat:NO
                                 keyCode:0];
    }

    static void press(NSString* characters, NSUInteger modifiers) {
        [NSApp postEvent:key(characters, modifiers) atStart:NO];
    }

    // Returns when the keys that were pressed before have closed the menu again.
    void open() { [[item.get() button] mouseDown:nil]; }

    // Opens the menu, calls `look` after what was pressed before, and closes it.
    void whileOpen(std::function<void()> look) {
        looking = std::move(look);
        [listener.get() performSelector:@selector(look)
                             withObject:nil
                             afterDelay:0.1
                                inModes:@[ NSEventTrackingRunLoopMode ]];
        [menu.get() performSelector:@selector(cancelTracking)
                         withObject:nil
                         afterDelay:0.2
                            inModes:@[ NSEventTrackingRunLoopMode ]];
        open();
    }

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
    EXPECT_EQ(told,
              (Heard{"needs update", "will open", "needs update", "did close", "chosen Wanted"}));
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
    EXPECT_EQ(told.back(), "did close") << "nothing was chosen";
}

TEST_F(Menus, the_delegate_is_asked_for_every_command_key_and_for_no_other) {
    press(@"w", 0);
    press(@"w", NSCommandKeyMask);
    press(@"x", NSCommandKeyMask | NSShiftKeyMask);
    press(@"\x1B", 0);
    open();
    EXPECT_EQ(told,
              (Heard{"needs update", "will open", "needs update", "needs update", "did close"}));
}

TEST_F(Menus, a_command_key_is_matched_against_the_closed_menu_of_a_status_item) {
    addItem(@"Wanted", @"w");
    [NSApp sendEvent:key(@"w", NSCommandKeyMask)];
    EXPECT_EQ(told, (Heard{"needs update", "chosen Wanted"}));
    told.clear();
    [NSApp sendEvent:key(@"w", 0)];
    EXPECT_EQ(told, Heard{});
}

TEST_F(Menus, a_delegate_that_answers_for_the_keys_is_asked_in_place_of_a_rebuild) {
    const Retained<KeyAnswerer> answerer([[[KeyAnswerer alloc] init] autorelease]);
    [menu.get() setDelegate:answerer.get()];
    EXPECT_TRUE([menu.get() performKeyEquivalent:key(@"w", NSCommandKeyMask)]);
    EXPECT_FALSE([menu.get() performKeyEquivalent:key(@"n", NSCommandKeyMask)]);
    EXPECT_EQ(told, Heard{"recognized"});
}

TEST_F(Menus, a_modal_window_prevents_termination_unless_it_does_not_want_to) {
    static bool hasBegun = false;
    const Retained<TerminationWitness> witness([[[TerminationWitness alloc] init] autorelease]);
    witness.get()->hasBeenAsked = &hasBegun;
    [NSApp setDelegate:witness.get()];
    NSWindow* const window = [[[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 50, 50)
                                                          styleMask:NSTitledWindowMask
                                                            backing:NSBackingStoreBuffered
                                                              defer:NO] autorelease];
    [window setReleasedWhenClosed:NO];
    EXPECT_TRUE([window preventsApplicationTerminationWhenModal]);
    for (const bool prevents : {true, false}) {
        hasBegun = false;
        [window setPreventsApplicationTerminationWhenModal:prevents];
        const NSModalSession session = [NSApp beginModalSessionForWindow:window];
        [NSApp terminate:nil];
        [NSApp endModalSession:session];
        EXPECT_EQ(hasBegun, !prevents);
    }
    [NSApp setDelegate:nil];
    [window close];
}

TEST_F(Menus, a_request_to_quit_waits_for_the_run_loop) {
    static bool hasBegun = false;
    const Retained<TerminationWitness> witness([[[TerminationWitness alloc] init] autorelease]);
    witness.get()->hasBeenAsked = &hasBegun;
    [NSApp setDelegate:witness.get()];
    (void)raise(SIGTERM);
    EXPECT_FALSE(hasBegun);
    for (NSString* const mode in
         @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ]) {
        hasBegun = false;
        (void)raise(SIGTERM);
        [[NSRunLoop currentRunLoop] acceptInputForMode:mode beforeDate:[NSDate distantPast]];
        EXPECT_TRUE(hasBegun) << text(mode);
    }
    [NSApp setDelegate:nil];
}

TEST_F(Menus, the_delegate_may_make_the_wanted_item_when_a_key_is_matched) {
    rebuilding = [this](NSMenu* rebuilt) {
        [rebuilt removeAllItems];
        NSMenuItem* const made = [[[NSMenuItem alloc] initWithTitle:@"Made"
                                                             action:@selector(choose:)
                                                      keyEquivalent:@"m"] autorelease];
        [made setTarget:listener.get()];
        [rebuilt addItem:made];
    };
    EXPECT_TRUE([menu.get() performKeyEquivalent:key(@"m", NSCommandKeyMask)]);
    EXPECT_FALSE([menu.get() performKeyEquivalent:key(@"n", NSCommandKeyMask)]);
    EXPECT_EQ(told, (Heard{"needs update", "chosen Made", "needs update"}));
    rebuilding = nullptr;
}

TEST_F(Menus, a_menu_that_is_rebuilt_while_it_is_open_shows_its_new_rows) {
    NSView* const first = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 90, 20)] autorelease];
    NSView* const second = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 90, 50)] autorelease];
    rebuilding = [&](NSMenu* rebuilt) {
        const bool isFirst = [rebuilt numberOfItems] == 0;
        [rebuilt removeAllItems];
        [addItem(@"", @"") setView:isFirst ? first : second];
    };
    press(@"x", NSCommandKeyMask);
    whileOpen([&] {
        EXPECT_EQ([first window], nil);
        EXPECT_NE([second window], nil);
        EXPECT_GT(NSHeight([[second window] frame]), 50);
    });
    rebuilding = nullptr;
}

TEST_F(Menus, an_items_row_has_the_size_of_its_views_frame) {
    NSView* const view = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 310, 77)] autorelease];
    [addItem(@"", @"") setView:view];
    whileOpen([&] {
        EXPECT_TRUE(NSEqualSizes([view frame].size, NSMakeSize(310, 77)));
        EXPECT_EQ(NSMinX([view frame]),
                  NSMinX([static_cast<RoundedPanel*>([view window]) panelRect]));
        EXPECT_EQ(NSWidth([static_cast<RoundedPanel*>([view window]) panelRect]), 310);
    });
}

TEST_F(Menus, cancelling_without_animation_takes_the_window_away_at_once) {
    NSView* const view = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 90, 20)] autorelease];
    [addItem(@"", @"") setView:view];
    whileOpen([&] {
        EXPECT_TRUE([[view window] isVisible]);
        [menu.get() cancelTracking];
        EXPECT_TRUE([[view window] isVisible]) << "it still fades";
        [menu.get() cancelTrackingWithoutAnimation];
        EXPECT_FALSE([[view window] isVisible]);
    });
    EXPECT_EQ(told.back(), "did close");
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

TEST_F(Menus, an_item_shows_its_title_beside_its_image_until_told_otherwise) {
    NSStatusBarButton* const button = [item.get() button];
    [button setImage:[[[NSImage alloc] initWithSize:NSMakeSize(40, 18)] autorelease]];
    EXPECT_EQ([button imagePosition], static_cast<NSCellImagePosition>(NSImageLeft));
    const CGFloat withoutTitle = NSWidth([button frame]);
    [button setTitle:@"Title"];
    EXPECT_GT(NSWidth([button frame]), withoutTitle);
}

TEST_F(Menus, a_newer_item_stands_to_the_left_and_a_released_one_leaves_the_bar) {
    @autoreleasepool {
        NSStatusItem* const newer = [[NSStatusBar systemStatusBar] statusItemWithLength:50];
        EXPECT_LT(NSMaxX([[newer button] frame]), NSMinX([[item.get() button] frame]));
        EXPECT_EQ([[[[item.get() button] superview] subviews] count], 2U);
    }
    EXPECT_EQ([[[[item.get() button] superview] subviews] count], 1U);
}

class GestureRecognizers : public Menus {
protected:
    // Presses the mouse's button in the middle of the view and lets it go there or elsewhere.
    static void click(NSView* view, NSPoint offset = NSZeroPoint) {
        const NSRect bounds = [view bounds];
        const NSPoint middle = [view convertPoint:NSMakePoint(NSMidX(bounds), NSMidY(bounds))
                                           toView:nil];
        postMouse(NSLeftMouseUp, [view window],
                  NSMakePoint(middle.x + offset.x, middle.y + offset.y));
        [[view window] sendEvent:mouse(NSLeftMouseDown, [view window], middle)];
    }

    static NSEvent* mouse(NSEventType type, NSWindow* window, NSPoint place) {
        return [NSEvent mouseEventWithType:type
                                  location:place
                             modifierFlags:0
                                 timestamp:0
                              windowNumber:[window windowNumber]
                                   context:nil
                               eventNumber:0
                                clickCount:1
                                  pressure:0];
    }

    static void postMouse(NSEventType type, NSWindow* window, NSPoint place) {
        [NSApp postEvent:mouse(type, window, place) atStart:NO];
    }

    // A view with a recognizer, in a row of the menu, and a label in the view.
    NSView* addRecognizingRow() {
        NSView* const view = [[[NSView alloc] initWithFrame:NSMakeRect(0, 0, 200, 40)] autorelease];
        [view addGestureRecognizer:recognizer.get()];
        NSTextField* const label = [NSTextField labelWithString:@"label"];
        [label setFrame:NSMakeRect(50, 10, 100, 20)];
        [view addSubview:label];
        [addItem(@"", @"") setView:view];
        return view;
    }

    Retained<NSClickGestureRecognizer> recognizer = Retained<NSClickGestureRecognizer>::adopt(
        [[NSClickGestureRecognizer alloc] initWithTarget:listener.get()
                                                  action:@selector(recognize:)]);
};

TEST_F(GestureRecognizers, know_their_target_action_and_view) {
    NSView* const view = addRecognizingRow();
    EXPECT_EQ([recognizer.get() target], static_cast<id>(listener.get()));
    EXPECT_EQ(text(NSStringFromSelector([recognizer.get() action])), "recognize:");
    EXPECT_EQ([recognizer.get() view], view);
    EXPECT_EQ([[view gestureRecognizers] count], 1U);
    [view removeGestureRecognizer:recognizer.get()];
    EXPECT_EQ([recognizer.get() view], nil);
    EXPECT_EQ([[view gestureRecognizers] count], 0U);
}

TEST_F(GestureRecognizers, a_click_on_a_view_in_a_menu_or_on_a_label_in_it_sends_the_action) {
    NSView* const view = addRecognizingRow();
    whileOpen([&] {
        told.clear();
        click(view);
        EXPECT_EQ(told, Heard{"recognized"});
    });
}

TEST_F(GestureRecognizers, a_button_that_is_let_go_elsewhere_sends_nothing) {
    NSView* const view = addRecognizingRow();
    whileOpen([&] {
        told.clear();
        click(view, NSMakePoint(0, 60));
        EXPECT_EQ(told, Heard{});
    });
}

TEST_F(GestureRecognizers, a_control_with_an_action_gets_its_clicks_itself) {
    NSView* const view = addRecognizingRow();
    NSSwitch* const control = [[[NSSwitch alloc] initWithFrame:[view bounds]] autorelease];
    [control setEnabled:YES];
    [control setTarget:listener.get()];
    [control setAction:@selector(flip:)];
    [view addSubview:control];
    whileOpen([&] {
        told.clear();
        click(control);
        EXPECT_EQ(told, Heard{"flipped"});
    });
}

class ActivationPolicy : public MenuBarTest {
protected:
    ActivationPolicy() : MenuBarTest(Needs::Application) {}
    ~ActivationPolicy() override {
        [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
    }

    static bool isInDock() {
        for (NSWindow* window in [NSApp windows]) {
            if ([window isVisible] && [window level] == NSDockWindowLevel) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(ActivationPolicy, only_a_regular_application_is_in_the_dock) {
    EXPECT_FALSE(isInDock());
    [NSApp setActivationPolicy:NSApplicationActivationPolicyRegular];
    EXPECT_TRUE(isInDock());
    [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
    EXPECT_FALSE(isInDock());
}

class Accessibility : public MenuBarTest {};

TEST_F(Accessibility, every_kind_of_view_keeps_a_copy_of_its_label) {
    for (Class kind in
         @[ [NSView class], [NSSwitch class], [NSTextField class], [NSButton class] ]) {
        NSView* const view = [[[kind alloc] initWithFrame:NSZeroRect] autorelease];
        EXPECT_EQ([view accessibilityLabel], nil) << class_getName(kind);
        NSMutableString* const label = [NSMutableString stringWithString:@"Studio"];
        [view setAccessibilityLabel:label];
        [label appendString:@" and more"];
        EXPECT_EQ(text([view accessibilityLabel]), "Studio") << class_getName(kind);
        [view setAccessibilityLabel:nil];
        EXPECT_EQ([view accessibilityLabel], nil) << class_getName(kind);
    }
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
