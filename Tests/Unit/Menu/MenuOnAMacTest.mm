#include "Support/MenuBarTest.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"
#import "Veilpane/Menu/StatusMenu.h"

#include <algorithm>

// What only AppKit itself can tell: how large a menu is for its rows, whose stand-in has tests of
// its own, and which weights its system font has.

namespace veilpane::test {

namespace {

class MenuOnAMac : public MenuBarTest {
protected:
    MenuOnAMac() : MenuBarTest(Needs::Application) {
        boot();
        [delegate.get() menuNeedsUpdate:menu.get()];
    }

    // The width of the widest row and the height of all of them.
    [[nodiscard]] NSSize rowsTogether() const {
        NSSize together = NSMakeSize(0, 0);
        for (NSMenuItem* item in [menu.get() itemArray]) {
            const NSSize row = [item view] == nil ? NSMakeSize(0, 0) : [[item view] frame].size;
            together.width = std::max(together.width, row.width);
            together.height += row.height;
        }
        return together;
    }

    NSRef<AppDelegate> delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
    NSRef<StatusMenu> menu = NSRef<StatusMenu>::adopt([[StatusMenu alloc] init]);
};

TEST_F(MenuOnAMac, a_menu_has_room_for_all_of_its_rows) {
    const NSSize rows = rowsTogether();
    ASSERT_EQ(rows.width, 280);
    EXPECT_GE([menu.get() size].width, rows.width);
    EXPECT_GE([menu.get() size].height, rows.height);
}

TEST_F(MenuOnAMac, measuring_a_menu_leaves_its_rows_as_large_as_they_were) {
    ASSERT_GT([menu.get() size].height, 0);
    for (NSMenuItem* item in [menu.get() itemArray]) {
        if (NSView* const view = [item view]) {
            EXPECT_TRUE(NSEqualSizes([view frame].size, [view fittingSize]));
        }
    }
}

TEST_F(MenuOnAMac, the_name_of_a_display_is_heavier_than_plain_text) {
    const auto row =
        NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc] initWithDisplayID:7
                                                                                 title:@"Studio"
                                                                                isMain:false
                                                                                  isOn:true
                                                                              onToggle:nullptr]);
    EXPECT_FALSE([[[row.get() titleLabel] font] isEqual:[NSFont systemFontOfSize:13]]);
}

} // namespace

} // namespace veilpane::test
