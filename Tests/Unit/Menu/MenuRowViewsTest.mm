#include "Support/AppKitHost.h"
#include "Support/MenuBarTest.h"
#import "Veilpane/Menu/MenuLabelRowView.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"

#include <csignal>
#include <functional>
#include <optional>

namespace veilpane::test {

namespace {

using Lines = std::vector<std::string>;

// Lays a row out as a part of what a menu draws, and returns the view around it. The row's size
// comes from its constraints, in whatever frame it was before.
NSRef<NSView> laidOut(NSView* row) {
    auto menu = NSRef<NSView>::adopt([[NSView alloc] initWithFrame:NSMakeRect(0, 0, 320, 200)]);
    [menu.get() addSubview:row];
    [menu.get() layoutSubtreeIfNeeded];
    return menu;
}

CGFloat resistance(NSView* view) {
    return [view
        contentCompressionResistancePriorityForOrientation:NSLayoutConstraintOrientationHorizontal];
}

class MenuRowViews : public MenuBarTest {
protected:
    using MenuBarTest::MenuBarTest;

    static NSRef<MenuLabelRowView> label(NSString* text, NSString* trailing = nil,
                                         CGFloat height = 30) {
        return NSRef<MenuLabelRowView>::adopt([[MenuLabelRowView alloc]
            initWithText:text
                    font:[NSFont systemFontOfSize:11]
                   color:[NSColor labelColor]
            trailingText:trailing
                  height:height]);
    }

    NSRef<PowerSwitchRowView> row(bool isMain, bool isOn = true, NSString* title = @"Studio") {
        return NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc]
            initWithDisplayID:7
                        title:title
                       isMain:isMain
                         isOn:isOn
                     onToggle:[this](bool on) { toggles.push_back(on); }]);
    }

    std::vector<bool> toggles;
};

class FlippedSwitch : public MenuRowViews {
protected:
    FlippedSwitch() : MenuRowViews(Needs::Application) {}
};

TEST_F(MenuRowViews, a_label_row_has_one_subview_and_five_constraints) {
    const ActivatedConstraints constraints;
    const auto row = label(@"显示器");
    EXPECT_EQ([[row.get() subviews] count], 1U);
    EXPECT_EQ([[row.get() subviews] objectAtIndex:0], [row.get() label]);
    EXPECT_EQ(constraints.inOrder(),
              (Lines{"NSTextField.leading == MenuLabelRowView.leading +16",
                     "NSTextField.trailing <= MenuLabelRowView.trailing -16",
                     "NSTextField.centerY == MenuLabelRowView.centerY",
                     "MenuLabelRowView.height == 30", "MenuLabelRowView.width == 280"}));
}

TEST_F(MenuRowViews, a_trailing_text_adds_a_subview_and_three_constraints) {
    const ActivatedConstraints constraints;
    const auto row = label(@"退出", @"⌘Q", 32);
    EXPECT_EQ([[row.get() subviews] count], 2U);
    EXPECT_EQ([[row.get() subviews] objectAtIndex:1], [row.get() trailing]);
    EXPECT_EQ(constraints.inOrder(),
              (Lines{"NSTextField.leading == MenuLabelRowView.leading +16",
                     "NSTextField.trailing <= MenuLabelRowView.trailing -16",
                     "NSTextField.centerY == MenuLabelRowView.centerY",
                     "MenuLabelRowView.height == 32", "MenuLabelRowView.width == 280",
                     "NSTextField.trailing == MenuLabelRowView.trailing -16",
                     "NSTextField.centerY == MenuLabelRowView.centerY",
                     "NSTextField.trailing <= NSTextField.leading -8"}));
}

TEST_F(MenuRowViews, a_label_row_shows_its_texts_in_the_given_and_in_the_secondary_style) {
    const auto row = label(@"退出", @"⌘Q");
    EXPECT_EQ(text([[row.get() label] stringValue]), "退出");
    EXPECT_EQ([[[row.get() label] font] pointSize], 11);
    EXPECT_TRUE([[[row.get() label] textColor] isEqual:[NSColor labelColor]]);
    EXPECT_EQ([[row.get() label] lineBreakMode], NSLineBreakByTruncatingTail);
    EXPECT_EQ(text([[row.get() trailing] stringValue]), "⌘Q");
    EXPECT_EQ([[[row.get() trailing] font] pointSize], 12);
    EXPECT_TRUE([[[row.get() trailing] textColor] isEqual:[NSColor secondaryLabelColor]]);
    for (NSTextField* field in @[ [row.get() label], [row.get() trailing] ]) {
        EXPECT_FALSE([field isEditable]);
        EXPECT_FALSE([field translatesAutoresizingMaskIntoConstraints]);
    }
    EXPECT_FALSE([row.get() translatesAutoresizingMaskIntoConstraints]);
}

TEST_F(MenuRowViews, a_long_text_is_cut_and_stays_beside_the_trailing_text) {
    const auto row = label(
        @"This text is far too long for a row of two hundred and eighty points, 真的太长了", @"⌘Q");
    const auto menu = laidOut(row.get());
    EXPECT_TRUE(NSEqualSizes([row.get() frame].size, NSMakeSize(280, 30)));
    const NSRect label = alignmentRect([row.get() label]);
    const NSRect trailing = alignmentRect([row.get() trailing]);
    EXPECT_NEAR(NSMinX(label), 16, pixelRounding());
    EXPECT_NEAR(NSMaxX(trailing), 264, pixelRounding());
    EXPECT_LE(NSMaxX(label), NSMinX(trailing) - 8 + pixelRounding());
    EXPECT_NEAR(NSWidth(trailing), [[row.get() trailing] intrinsicContentSize].width,
                pixelRounding());
    EXPECT_LT(NSWidth(label), [[row.get() label] intrinsicContentSize].width);
}

TEST_F(MenuRowViews, a_short_text_takes_its_natural_width_in_the_middle_of_the_height) {
    const auto row = label(@"短");
    const auto menu = laidOut(row.get());
    const NSRect label = alignmentRect([row.get() label]);
    EXPECT_NEAR(NSWidth(label), [[row.get() label] intrinsicContentSize].width, pixelRounding());
    EXPECT_NEAR(NSMidY(label), 15, pixelRounding());
}

TEST_F(MenuRowViews, a_switch_row_has_three_subviews_and_eleven_constraints) {
    const ActivatedConstraints constraints;
    const auto row = this->row(false);
    NSArray* const subviews =
        @[ [row.get() iconView], [row.get() titleLabel], [row.get() powerSwitch] ];
    EXPECT_TRUE([[row.get() subviews] isEqual:subviews]);
    EXPECT_EQ(constraints.inOrder(),
              (Lines{"NSImageView.leading == PowerSwitchRowView.leading +16",
                     "NSImageView.centerY == PowerSwitchRowView.centerY", "NSImageView.width == 18",
                     "NSImageView.height == 18", "NSTextField.leading == NSImageView.trailing +10",
                     "NSTextField.trailing <= NSSwitch.leading -12",
                     "NSTextField.centerY == PowerSwitchRowView.centerY",
                     "NSSwitch.trailing == PowerSwitchRowView.trailing -16",
                     "NSSwitch.centerY == PowerSwitchRowView.centerY",
                     "PowerSwitchRowView.height == 40", "PowerSwitchRowView.width == 280"}));
}

TEST_F(MenuRowViews, the_main_display_has_no_switch_in_its_row_and_nine_constraints) {
    const ActivatedConstraints constraints;
    const auto row = this->row(true);
    NSArray* const subviews = @[ [row.get() iconView], [row.get() titleLabel] ];
    EXPECT_TRUE([[row.get() subviews] isEqual:subviews]);
    EXPECT_EQ([[row.get() powerSwitch] superview], nil);
    EXPECT_EQ(constraints.inOrder(),
              (Lines{"NSImageView.leading == PowerSwitchRowView.leading +16",
                     "NSImageView.centerY == PowerSwitchRowView.centerY", "NSImageView.width == 18",
                     "NSImageView.height == 18", "NSTextField.leading == NSImageView.trailing +10",
                     "NSTextField.trailing == PowerSwitchRowView.trailing -16",
                     "NSTextField.centerY == PowerSwitchRowView.centerY",
                     "PowerSwitchRowView.height == 40", "PowerSwitchRowView.width == 280"}));
}

TEST_F(MenuRowViews, a_switch_row_is_set_up_as_a_menu_row) {
    const auto row = this->row(false, false);
    EXPECT_EQ([row.get() displayID], 7U);
    EXPECT_FALSE([row.get() isMain]);
    EXPECT_EQ(text([[row.get() titleLabel] stringValue]), "Studio");
    EXPECT_EQ([[[row.get() titleLabel] font] pointSize], 13);
    EXPECT_TRUE([[[row.get() titleLabel] textColor] isEqual:[NSColor labelColor]]);
    EXPECT_EQ([[row.get() titleLabel] lineBreakMode], NSLineBreakByTruncatingTail);
    EXPECT_EQ([[row.get() iconView] imageScaling], NSImageScaleProportionallyUpOrDown);
    EXPECT_TRUE([[[row.get() iconView] contentTintColor] isEqual:[NSColor secondaryLabelColor]]);
    EXPECT_EQ([[row.get() powerSwitch] controlSize], NSControlSizeSmall);
    EXPECT_EQ([[row.get() powerSwitch] state], NSControlStateValueOff);
    EXPECT_TRUE([[row.get() powerSwitch] isEnabled]);
    EXPECT_EQ([[row.get() powerSwitch] target], row.get());
    EXPECT_EQ(name([[row.get() powerSwitch] action]), "switchChanged:");
    EXPECT_FALSE([row.get() translatesAutoresizingMaskIntoConstraints]);
}

// Not every system has a font of its own for each weight.
TEST_F(MenuRowViews, a_displays_name_is_of_medium_weight) {
    static std::vector<NSFontWeight> weights;
    Class const metaclass = object_getClass(static_cast<id>([NSFont class]));
    const ReplacedMethod made(
        metaclass, @selector(systemFontOfSize:weight:),
        implementationOf(+[](Class, SEL, CGFloat size, NSFontWeight weight) -> NSFont* {
            weights.push_back(weight);
            return [NSFont systemFontOfSize:size];
        }));
    row(true);
    row(false);
    EXPECT_EQ(weights, (std::vector<NSFontWeight>{NSFontWeightMedium, NSFontWeightMedium}));
}

// Which symbol an image shows is asked from the image's maker.
TEST_F(MenuRowViews, the_main_display_has_another_symbol_than_the_others) {
    static std::vector<std::string> symbols;
    Class const metaclass = object_getClass(static_cast<id>([NSImage class]));
    const ReplacedMethod made(
        metaclass, @selector(imageWithSystemSymbolName:accessibilityDescription:),
        implementationOf(+[](Class, SEL, NSString* name, NSString* description) -> NSImage* {
            symbols.push_back(text(name) + " " + text(description));
            return nil;
        }));
    row(true);
    row(false);
    EXPECT_EQ(symbols, (Lines{"display (nil)", "display.2 (nil)"}));
}

TEST_F(MenuRowViews, rows_are_280_wide_and_switch_rows_40_high_whatever_they_say) {
    NSMutableString* const endless = [NSMutableString string];
    for (int count = 0; count < 100; ++count) {
        [endless appendString:@"很长的名字 "];
    }
    for (NSString* title in @[ @"", @"Studio", endless ]) {
        for (const bool isMain : {true, false}) {
            const auto row = this->row(isMain, true, title);
            const auto menu = laidOut(row.get());
            EXPECT_TRUE(NSEqualSizes([row.get() frame].size, NSMakeSize(280, 40)));
            EXPECT_TRUE(NSEqualSizes([row.get() fittingSize], NSMakeSize(280, 40)));
            const NSRect icon = alignmentRect([row.get() iconView]);
            EXPECT_NEAR(NSMinX(icon), 16, pixelRounding());
            EXPECT_NEAR(NSMinY(icon), 11, pixelRounding());
            EXPECT_NEAR(NSWidth(icon), 18, pixelRounding());
            EXPECT_NEAR(NSHeight(icon), 18, pixelRounding());
            EXPECT_NEAR(NSMinX(alignmentRect([row.get() titleLabel])), 44, pixelRounding());
        }
    }
}

TEST_F(MenuRowViews, a_row_keeps_its_size_in_a_frame_that_a_wider_menu_gives_it) {
    const auto row = this->row(false);
    [row.get() setFrame:NSMakeRect(0, 0, 320, 50)];
    const auto menu = laidOut(row.get());
    EXPECT_TRUE(NSEqualSizes([row.get() frame].size, [row.get() fittingSize]));
}

TEST_F(MenuRowViews, the_name_of_a_display_has_the_medium_weight) {
    NSFont* const font = [[row(false).get() titleLabel] font];
    EXPECT_TRUE([font isEqual:[NSFont systemFontOfSize:13 weight:NSFontWeightMedium]]);
    EXPECT_FALSE([font isEqual:[NSFont systemFontOfSize:13 weight:NSFontWeightSemibold]]);
}

TEST_F(MenuRowViews, a_long_name_never_pushes_the_switch_out_of_the_row) {
    const auto row =
        this->row(false, true, @"A name that is longer than the row, 比这一行还要长的名字");
    const auto menu = laidOut(row.get());
    const NSRect powerSwitch = alignmentRect([row.get() powerSwitch]);
    const NSSize natural = [[row.get() powerSwitch] intrinsicContentSize];
    EXPECT_NEAR(NSMaxX(powerSwitch), 264, pixelRounding());
    EXPECT_LE(NSMaxX([[row.get() powerSwitch] frame]), 280);
    EXPECT_NEAR(NSWidth(powerSwitch), natural.width, pixelRounding());
    EXPECT_NEAR(NSHeight(powerSwitch), natural.height, pixelRounding());
    EXPECT_LE(NSMaxX(alignmentRect([row.get() titleLabel])),
              NSMinX(powerSwitch) - 12 + pixelRounding());
}

TEST_F(MenuRowViews, what_stands_beside_a_switch_or_a_trailing_text_gives_way) {
    const CGFloat untouched = resistance([NSTextField labelWithString:@""]);
    ASSERT_GT(untouched, NSLayoutPriorityDefaultLow);
    EXPECT_EQ(resistance([row(false).get() titleLabel]), NSLayoutPriorityDefaultLow);
    EXPECT_GT(resistance([row(false).get() powerSwitch]), NSLayoutPriorityDefaultLow);
    EXPECT_EQ(resistance([row(true).get() titleLabel]), untouched);
    EXPECT_EQ(resistance([label(@"退出", @"⌘Q").get() label]), NSLayoutPriorityDefaultLow);
    EXPECT_EQ(resistance([label(@"退出", @"⌘Q").get() trailing]), untouched);
    EXPECT_EQ(resistance([label(@"显示器").get() label]), untouched);
}

TEST_F(MenuRowViews, the_main_displays_name_has_the_whole_row) {
    const auto row =
        this->row(true, true, @"A name that is longer than the row, 比这一行还要长的名字");
    const auto menu = laidOut(row.get());
    EXPECT_NEAR(NSMaxX(alignmentRect([row.get() titleLabel])), 264, pixelRounding());
}

TEST_F(FlippedSwitch, flipping_the_switch_reports_the_new_state_and_leaves_the_switch_alone) {
    const auto row = this->row(false, true);
    flip(row.get());
    EXPECT_EQ(toggles, std::vector<bool>{false});
    EXPECT_EQ([[row.get() powerSwitch] state], NSControlStateValueOff);
    flip(row.get());
    EXPECT_EQ(toggles, (std::vector<bool>{false, true}));
    EXPECT_EQ([[row.get() powerSwitch] state], NSControlStateValueOn);
}

TEST_F(FlippedSwitch, the_main_displays_switch_snaps_back_with_a_beep_and_reports_nothing) {
    boot().clearCalls();
    const auto row = this->row(true, true);
    flip(row.get());
    EXPECT_EQ([[row.get() powerSwitch] state], NSControlStateValueOn);
    EXPECT_EQ(calls(), Lines{"NSBeep()"});
    EXPECT_TRUE(toggles.empty());
}

TEST_F(FlippedSwitch, switching_the_main_display_on_is_reported) {
    const auto row = this->row(true, false);
    flip(row.get());
    EXPECT_EQ(toggles, std::vector<bool>{true});
}

TEST_F(MenuRowViews, showing_a_state_reports_nothing) {
    const auto row = this->row(false, true);
    [row.get() showOn:NO];
    EXPECT_EQ([[row.get() powerSwitch] state], NSControlStateValueOff);
    EXPECT_TRUE(toggles.empty());
}

TEST_F(MenuRowViews, row_and_switch_tell_screen_readers_name_and_state) {
    const struct {
        bool isMain;
        bool isOn;
        NSString* title;
        const char* told;
    } rows[] = {{false, true, @"Studio", "Studio，开"},
                {false, false, @"Studio", "Studio，关"},
                {true, true, @"内建视网膜显示器", "内建视网膜显示器，主屏，开"},
                {true, false, @"Studio", "Studio，主屏，关"},
                {false, true, @"Two\nlines", "Two\nlines，开"}};
    for (const auto& expected : rows) {
        const auto row = this->row(expected.isMain, expected.isOn, expected.title);
        EXPECT_EQ(text([row.get() accessibilityLabel]), expected.told);
        EXPECT_EQ(text([[row.get() powerSwitch] accessibilityLabel]), expected.told);
    }
}

// A plain view with a label may be no element that a screen reader finds.
TEST_F(MenuRowViews, without_a_switch_the_title_tells_screen_readers_name_and_state) {
    EXPECT_EQ(text([[row(true, true, @"Panel").get() titleLabel] accessibilityLabel]),
              "Panel，主屏，开");
    EXPECT_EQ([[row(false).get() titleLabel] accessibilityLabel], nil);
}

TEST_F(MenuRowViews, screen_readers_are_told_a_state_that_is_shown) {
    const auto row = this->row(false, true);
    [row.get() showOn:false];
    EXPECT_EQ(text([row.get() accessibilityLabel]), "Studio，关");
    [row.get() showOn:true];
    EXPECT_EQ(text([[row.get() powerSwitch] accessibilityLabel]), "Studio，开");
}

TEST_F(FlippedSwitch, screen_readers_are_told_the_new_state_before_it_is_reported) {
    NSRef<PowerSwitchRowView> row;
    std::string told;
    row = NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc]
        initWithDisplayID:1
                    title:@"Studio"
                   isMain:false
                     isOn:true
                 onToggle:[&row, &told](bool) { told = text([row.get() accessibilityLabel]); }]);
    flip(row.get());
    EXPECT_EQ(told, "Studio，关");
}

TEST_F(MenuRowViews, a_row_lets_go_of_its_toggle_handler) {
    auto held = std::make_shared<int>(0);
    {
        const auto row = NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc]
            initWithDisplayID:1
                        title:@""
                       isMain:NO
                         isOn:YES
                     onToggle:[held](bool) {}]);
        EXPECT_EQ(held.use_count(), 2);
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(FlippedSwitch, a_row_survives_a_handler_that_lets_go_of_it) {
    std::optional<NSRef<PowerSwitchRowView>> row;
    row = NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc]
        initWithDisplayID:1
                    title:@""
                   isMain:NO
                     isOn:YES
                 onToggle:[&row, this](bool on) {
                     row.reset();
                     toggles.push_back(on);
                 }]);
    flip(row->get());
    EXPECT_EQ(toggles, std::vector<bool>{false});
}

TEST_F(FlippedSwitch, without_a_handler_a_flipped_switch_only_moves) {
    const auto row =
        NSRef<PowerSwitchRowView>::adopt([[PowerSwitchRowView alloc] initWithDisplayID:1
                                                                                 title:@""
                                                                                isMain:false
                                                                                  isOn:true
                                                                              onToggle:nullptr]);
    flip(row.get());
    EXPECT_EQ([[row.get() powerSwitch] state], NSControlStateValueOff);
}

TEST_F(MenuRowViews, rows_cannot_come_from_an_archive) {
    EXPECT_EXIT([[MenuLabelRowView alloc] initWithCoder:nil], testing::KilledBySignal(SIGABRT),
                "Fatal error: init\\(coder:\\) has not been implemented\n");
    EXPECT_EXIT([[PowerSwitchRowView alloc] initWithCoder:nil], testing::KilledBySignal(SIGABRT),
                "Fatal error: init\\(coder:\\) has not been implemented\n");
}

} // namespace

} // namespace veilpane::test
