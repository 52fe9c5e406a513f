#import "Veilpane/Menu/StatusMenu.h"

#include "Support/MenuBarTest.h"

@interface StatusMenuListener : NSObject <NSMenuDelegate> {
@public
    std::vector<std::string> told;
}
- (void)quit:(NSMenuItem*)item;
@end

@implementation StatusMenuListener

- (void)menuNeedsUpdate:(NSMenu*)__unused menu {
    told.push_back("needs update");
}

- (void)quit:(NSMenuItem*)item {
    told.push_back("quit from " + text([item title]));
}

- (void)other {
    told.push_back("other");
}

@end

namespace veilpane::test {

namespace {

using Lines = std::vector<std::string>;

constexpr NSUInteger command = NSEventModifierFlagCommand;

struct Key {
    NSString* characters;
    NSString* ignoringModifiers;
    NSUInteger modifiers;
};

class StatusMenuTest : public MenuBarTest {
protected:
    explicit StatusMenuTest(Needs needs = Needs::Views) : MenuBarTest(needs) {
        [menu.get() setDelegate:listener.get()];
    }

    void addItem(NSString* title, NSString* key, SEL action) {
        const auto item = NSRef<NSMenuItem>::adopt([[NSMenuItem alloc] initWithTitle:title
                                                                              action:action
                                                                       keyEquivalent:key]);
        [item.get() setTarget:listener.get()];
        [menu.get() addItem:item.get()];
    }

    void addItems() {
        addItem(@"row", @"", @selector(other));
        addItem(@"another", @"x", @selector(other));
        addItem(@"item", @"q", @selector(quit:));
        listener.get()->told.clear();
    }

    bool isAnswered(const Key& key) {
        NSEvent* const event = [NSEvent keyEventWithType:NSEventTypeKeyDown
                                                location:NSZeroPoint
                                           modifierFlags:key.modifiers
                                               timestamp:0
                                            windowNumber:0
                                                 context:nil
                                              characters:key.characters
                             charactersIgnoringModifiers:key.ignoringModifiers
                                               isARepeat:NO
                                                 keyCode:0];
        return [menu.get() performKeyEquivalent:event];
    }

    const Lines& told() { return listener.get()->told; }

    NSRef<StatusMenuListener> listener =
        NSRef<StatusMenuListener>::adopt([[StatusMenuListener alloc] init]);
    NSRef<StatusMenu> menu = NSRef<StatusMenu>::adopt([[StatusMenu alloc] init]);
};

class StatusMenuAction : public StatusMenuTest {
protected:
    StatusMenuAction() : StatusMenuTest(Needs::Application) {}
};

TEST_F(StatusMenuAction, command_q_sends_the_quit_items_action_on_every_keyboard) {
    const Key keys[] = {
        {@"q", @"q", command},
        {@"Q", @"Q", command | NSEventModifierFlagCapsLock},
        {@"q", @"й", command},
        {@"ض", @"q", command},
    };
    addItems();
    for (const Key& key : keys) {
        listener.get()->told.clear();
        EXPECT_TRUE(isAnswered(key)) << text(key.characters);
        EXPECT_EQ(told(), Lines{"quit from item"});
    }
}

TEST_F(StatusMenuTest, every_other_key_is_nobodys_and_the_delegate_is_not_asked) {
    const Key keys[] = {
        {@"q", @"q", 0},
        {@"Q", @"Q", command | NSEventModifierFlagShift},
        {@"œ", @"q", command | NSEventModifierFlagOption},
        {@"\x11", @"q", command | NSEventModifierFlagControl},
        {@"x", @"x", command},
        {@"", @"", command},
    };
    addItems();
    for (const Key& key : keys) {
        EXPECT_FALSE(isAnswered(key)) << text(key.characters);
    }
    EXPECT_EQ(told(), Lines{});
}

TEST_F(StatusMenuTest, a_menu_that_was_never_opened_answers_nothing) {
    EXPECT_FALSE(isAnswered({@"q", @"q", command}));
    EXPECT_EQ(told(), Lines{});
}

TEST_F(StatusMenuAction, tracking_is_cancelled_before_the_action) {
    addItems();
    static Lines* order = nullptr;
    order = &listener.get()->told;
    const ReplacedMethod cancel(
        [NSMenu class], @selector(cancelTracking),
        implementationOf(+[](NSMenu*, SEL) { order->push_back("cancelled"); }));
    EXPECT_TRUE(isAnswered({@"q", @"q", command}));
    EXPECT_EQ(told(), (Lines{"cancelled", "quit from item"}));
}

} // namespace

} // namespace veilpane::test
