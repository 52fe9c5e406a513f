#import "Veilpane/Menu/AppDelegate.h"

#include "Support/AppKitHost.h"
#include "Support/MenuBarTest.h"
#include "Support/Scenes.h"
#include "Veilpane/Menu/EventLog.h"
#include "Veilpane/Menu/FailureAlert.h"
#import "Veilpane/Menu/MenuLabelRowView.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Support/UTF8Text.h"

#import <objc/runtime.h>

#include <cmath>
#include <csignal>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>

/// A status item that AppKit has made no button for.
@interface StatusItemWithoutButton : NSObject {
    veilpane::NSRef<NSMenu> _menu;
}
@property (nonatomic, readonly) NSStatusBarButton* button;
@property (nonatomic, retain) NSMenu* menu;
@end

@implementation StatusItemWithoutButton

- (NSStatusBarButton*)button {
    return nil;
}

- (NSMenu*)menu {
    return _menu.get();
}

- (void)setMenu:(NSMenu*)menu {
    _menu = veilpane::NSRef<NSMenu>::retain(menu);
}

@end

namespace veilpane::test {

namespace {

using Lines = std::vector<std::string>;
using simulated_mac::Mac;

// Three displays; nothing but the soft disconnect can switch 2 and 3.
const std::string threeDisplays = scene({builtIn1, left2, right3});

std::string colorName(NSColor* color) {
    const std::pair<NSColor*, const char*> colors[] = {{[NSColor labelColor], "label"},
                                                       {[NSColor secondaryLabelColor], "secondary"},
                                                       {[NSColor tertiaryLabelColor], "tertiary"},
                                                       {[NSColor clearColor], "clear"}};
    for (const auto& [known, name] : colors) {
        if ([color isEqual:known]) {
            return name;
        }
    }
    return "other";
}

std::string textStyle(NSTextField* field) {
    const bool isBold = [[field font] isEqual:[NSFont systemFontOfSize:[[field font] pointSize]
                                                                weight:NSFontWeightSemibold]];
    return "'" + text([field stringValue]) + "' " +
           std::to_string(static_cast<int>([[field font] pointSize])) +
           (isBold ? " semibold " : " ") + colorName([field textColor]);
}

std::string height(NSView* view) {
    [view layoutSubtreeIfNeeded];
    return " height " + std::to_string(std::lround(NSHeight([view frame])));
}

// Everything that the table of a menu says of one item.
std::string row(NSMenuItem* item) {
    if ([item isSeparatorItem]) {
        return "separator";
    }
    const std::string state = [item isEnabled] ? "enabled " : "disabled ";
    if ([[item view] isKindOfClass:[PowerSwitchRowView class]]) {
        PowerSwitchRowView* const view = static_cast<PowerSwitchRowView*>([item view]);
        const bool isOn = [[view powerSwitch] state] == NSControlStateValueOn;
        return state + "switch " + std::to_string([view displayID]) + " '" +
               text([[view titleLabel] stringValue]) + "'" + (isOn ? " on" : " off") +
               ([view isMain] ? " main" : "") + height(view);
    }
    MenuLabelRowView* const view = static_cast<MenuLabelRowView*>([item view]);
    const std::string trailing =
        [[view trailing] superview] == nil ? "" : ", " + textStyle([view trailing]);
    return state + textStyle([view label]) + trailing + height(view);
}

const std::string header = "disabled '显示器' 11 semibold secondary height 30";
const std::string noDisplay = "disabled '未检测到显示器' 13 tertiary height 40";
const std::string quitRow = "enabled '退出' 13 label, '⌘Q' 12 secondary height 32";
const std::string spacer = "disabled ' ' 4 clear height 8";

/// An alert as it was asked to be shown.
struct ShownAlert {
    std::string message;
    std::string information;
    NSAlertStyle style;
    Lines buttons;
    bool wasActivatedBefore;
    NSInteger level;
    bool preventsQuitting;
    Lines before; ///< what the menu was told before
};

std::vector<ShownAlert>* shownAlerts = nullptr;
bool isActivated = false;
Lines toldMenu;
std::function<void()> whenShown = [] {};

NSInteger rememberAlert(NSAlert* alert, SEL) {
    whenShown();
    Lines buttons;
    for (NSButton* button in [alert buttons]) {
        buttons.push_back(text([button title]));
    }
    NSWindow* const window = static_cast<NSWindow*>([alert window]);
    shownAlerts->push_back({text([alert messageText]), text([alert informativeText]),
                            [alert alertStyle], buttons, isActivated, [window level],
                            bool([window preventsApplicationTerminationWhenModal]), toldMenu});
    return 1000;
}

class AppDelegateTest : public MenuBarTest {
protected:
    AppDelegateTest()
        : MenuBarTest(Needs::Application),
          runModal_([NSAlert class], @selector(runModal), implementationOf(rememberAlert)),
          activate_([NSApplication class], @selector(activateIgnoringOtherApps:),
                    implementationOf(+[](NSApplication*, SEL, BOOL ignoringOthers) {
                        isActivated = ignoringOthers;
                    })) {
        shownAlerts = &alerts;
    }

    void launch() {
        testing::internal::CaptureStderr();
        [delegate.get() applicationDidFinishLaunching:anyNotification()];
        log = withoutFrameworkMessages(testing::internal::GetCapturedStderr());
    }

    // The log's lines without their times.
    static Lines messages(const std::string& log) {
        Lines messages;
        std::istringstream lines(log);
        for (std::string line; std::getline(lines, line);) {
            messages.push_back(line.substr(line.find("] ") + 2));
        }
        return messages;
    }

    NSMenu* openMenu() {
        NSMenu* const menu = [[delegate.get() statusItem] menu];
        [delegate.get() menuNeedsUpdate:menu];
        return menu;
    }

    Lines rows() {
        Lines rows;
        for (NSMenuItem* item in [openMenu() itemArray]) {
            rows.push_back(row(item));
        }
        return rows;
    }

    static PowerSwitchRowView* switchRow(NSMenu* menu, CGDirectDisplayID displayID) {
        for (NSMenuItem* item in [menu itemArray]) {
            if ([[item view] isKindOfClass:[PowerSwitchRowView class]] &&
                [static_cast<PowerSwitchRowView*>([item view]) displayID] == displayID) {
                return static_cast<PowerSwitchRowView*>([item view]);
            }
        }
        return nil;
    }

    /// What a screen reader says of each display's row.
    static Lines spoken(NSMenu* menu) {
        Lines labels;
        for (NSMenuItem* item in [menu itemArray]) {
            if ([[item view] isKindOfClass:[PowerSwitchRowView class]]) {
                labels.push_back(text([[item view] accessibilityLabel]));
            }
        }
        return labels;
    }

    static bool isOn(PowerSwitchRowView* row) {
        return [[row powerSwitch] state] == NSControlStateValueOn;
    }

    NSRef<AppDelegate> delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
    std::vector<ShownAlert> alerts;
    std::string log;

private:
    ReplacedMethod runModal_;
    ReplacedMethod activate_;
};

TEST_F(AppDelegateTest, launching_puts_an_item_with_an_empty_menu_into_the_status_bar) {
    EXPECT_EQ([delegate.get() statusItem], nil);
    launch();
    NSStatusItem* const item = [delegate.get() statusItem];
    NSStatusBarButton* const button = [item button];
    ASSERT_NE(button, nil);
    EXPECT_EQ([item length], NSVariableStatusItemLength);
    EXPECT_TRUE([[button image] isTemplate]);
    EXPECT_EQ([button imagePosition], static_cast<NSCellImagePosition>(NSImageOnly));
    EXPECT_EQ(text([button title]), "");
    EXPECT_TRUE([[button font] isEqual:[NSFont menuBarFontOfSize:0]]);
    EXPECT_EQ(text([button toolTip]), "显示器开关");
    EXPECT_EQ(text([button accessibilityLabel]), "显示器开关");
    EXPECT_EQ([[item menu] numberOfItems], 0);
    EXPECT_EQ([[item menu] delegate], static_cast<id>(delegate.get()));
    EXPECT_FALSE([[item menu] autoenablesItems]);
}

TEST_F(AppDelegateTest, launching_is_logged_with_the_buttons_width) {
    launch();
    const CGFloat width = NSWidth([[[delegate.get() statusItem] button] frame]);
    EXPECT_EQ(messages(log), (Lines{"applicationDidFinishLaunching",
                                    "status item created image=true buttonWidth=" +
                                        text(EventLog::shortestDecimal(width))}));
}

TEST_F(AppDelegateTest, a_second_launch_changes_nothing_but_the_log) {
    launch();
    NSStatusItem* const item = [delegate.get() statusItem];
    NSMenu* const menu = [item menu];
    launch();
    EXPECT_EQ([delegate.get() statusItem], item);
    EXPECT_EQ([item menu], menu);
    EXPECT_EQ(messages(log), Lines{"didFinishLaunching already done — ignore"});
}

TEST_F(AppDelegateTest, without_a_button_there_is_no_menu_and_launching_counts_as_done) {
    const ReplacedMethod made([[NSStatusBar systemStatusBar] class],
                              @selector(statusItemWithLength:),
                              implementationOf(+[](NSStatusBar*, SEL, CGFloat) -> id {
                                  return [[[StatusItemWithoutButton alloc] init] autorelease];
                              }));
    launch();
    EXPECT_EQ(messages(log),
              (Lines{"applicationDidFinishLaunching", "ERROR: statusItem.button is nil"}));
    EXPECT_NE([delegate.get() statusItem], nil);
    EXPECT_EQ([[delegate.get() statusItem] menu], nil);
    launch();
    EXPECT_EQ(messages(log), Lines{"didFinishLaunching already done — ignore"});
}

TEST_F(AppDelegateTest, without_displays_the_menu_says_so) {
    boot(scene({}));
    launch();
    EXPECT_EQ(rows(), (Lines{header, noDisplay, "separator", quitRow, spacer}));
}

TEST_F(AppDelegateTest, one_display_has_no_separator_above_it) {
    boot(scene({builtIn1}));
    launch();
    EXPECT_EQ(rows(), (Lines{header, "enabled switch 1 'Built-in' on main height 40", "separator",
                             quitRow, spacer}));
}

TEST_F(AppDelegateTest, displays_are_listed_in_order_with_separators_between_them) {
    boot(threeDisplays);
    launch();
    EXPECT_EQ(rows(),
              (Lines{header, "enabled switch 1 'Built-in' on main height 40", "separator",
                     "enabled switch 2 'Left' on height 40", "separator",
                     "enabled switch 3 'Right' on height 40", "separator", quitRow, spacer}));
}

TEST_F(AppDelegateTest, the_outcome_is_shown_also_when_no_display_is_left) {
    Mac& mac = boot(threeDisplays);
    launch();
    flip(switchRow(openMenu(), 2));
    for (const CGDirectDisplayID displayID : {1U, 2U, 3U}) {
        mac.unplug(displayID);
    }
    EXPECT_EQ(rows(),
              (Lines{header, noDisplay, "separator",
                     "disabled '关： 已断开显示器（SLS，系统设置中将消失）' 11 tertiary height 28",
                     "separator", quitRow, spacer}));
}

TEST_F(AppDelegateTest, a_long_outcome_is_cut_in_the_menu) {
    boot(scene({builtIn1, R"({ "id": 2, "profilerName": "Left", "ddc": { "send": 5 } })"},
               {refusedBySkyLight()}));
    launch();
    flip(switchRow(openMenu(), 2));
    const std::string outcome = rows().at(5);
    EXPECT_TRUE(outcome.starts_with("disabled '关： ")) << outcome;
    EXPECT_TRUE(outcome.ends_with("…' 11 tertiary height 28")) << outcome;
    MenuLabelRowView* const view =
        static_cast<MenuLabelRowView*>([[openMenu() itemAtIndex:5] view]);
    EXPECT_EQ([[[view label] stringValue] length], 62U) << "61 characters and the ellipsis";
}

TEST_F(AppDelegateTest, opening_the_menu_again_builds_it_from_scratch) {
    boot(threeDisplays);
    launch();
    const Lines first = rows();
    NSMenuItem* const item = [[[[openMenu() itemArray] objectAtIndex:0] retain] autorelease];
    EXPECT_EQ(rows(), first);
    EXPECT_NE([openMenu() itemAtIndex:0], item);
}

TEST_F(AppDelegateTest, items_have_no_titles_and_only_the_quit_item_has_an_action) {
    boot(threeDisplays);
    launch();
    for (NSMenuItem* item in [openMenu() itemArray]) {
        if ([item isSeparatorItem]) {
            continue;
        }
        EXPECT_EQ(text([item title]), "");
        const bool isQuit = [[item keyEquivalent] isEqualToString:@"q"];
        EXPECT_EQ(name([item action]), isQuit ? "quit" : "(nil)");
        EXPECT_TRUE(isQuit || [[item keyEquivalent] isEqualToString:@""]);
    }
    NSMenuItem* const quit = [openMenu() itemAtIndex:[openMenu() numberOfItems] - 2];
    EXPECT_EQ(text([quit keyEquivalent]), "q");
    EXPECT_EQ([quit keyEquivalentModifierMask],
              static_cast<NSUInteger>(NSEventModifierFlagCommand));
    EXPECT_EQ([quit target], static_cast<id>(delegate.get()));
}

TEST_F(AppDelegateTest,
       flipping_a_switch_off_switches_the_display_and_shows_the_outcome_next_time) {
    Mac& mac = boot(threeDisplays);
    launch();
    NSMenu* const menu = openMenu();
    const NSInteger count = [menu numberOfItems];
    flip(switchRow(menu, 2));
    EXPECT_FALSE(mac.display(2).enabled);
    EXPECT_FALSE(isOn(switchRow(menu, 2)));
    EXPECT_TRUE(alerts.empty());
    EXPECT_EQ([menu numberOfItems], count) << "the open menu is not rebuilt";
    EXPECT_EQ(rows(),
              (Lines{header, "enabled switch 1 'Built-in' on main height 40", "separator",
                     "enabled switch 3 'Right' on height 40", "separator",
                     "enabled switch 2 'Left' off height 40", "separator",
                     "disabled '关： 已断开显示器（SLS，系统设置中将消失）' 11 tertiary height 28",
                     "separator", quitRow, spacer}));
}

TEST_F(AppDelegateTest, flipping_it_on_again_reconnects_the_display) {
    Mac& mac = boot(threeDisplays);
    launch();
    flip(switchRow(openMenu(), 2));
    NSMenu* const menu = openMenu();
    flip(switchRow(menu, 2));
    EXPECT_TRUE(mac.display(2).enabled);
    EXPECT_TRUE(isOn(switchRow(menu, 2)));
    EXPECT_EQ(rows().at(7), "disabled '开： 已重新连接显示器' 11 tertiary height 28");
}

TEST_F(AppDelegateTest, screen_readers_hear_of_each_display_its_name_and_what_it_really_does) {
    Mac& mac = boot(threeDisplays);
    launch();
    NSMenu* const menu = openMenu();
    EXPECT_EQ(spoken(menu), (Lines{"Built-in，主屏，开", "Left，开", "Right，开"}));
    flip(switchRow(menu, 2));
    EXPECT_EQ(spoken(menu), (Lines{"Built-in，主屏，开", "Left，关", "Right，开"}));
    EXPECT_EQ(spoken(openMenu()), (Lines{"Built-in，主屏，开", "Right，开", "Left，关"}));
    mac.failCall(fails("SLSConfigureDisplayEnabled").with(1001));
    flip(switchRow(menu, 2));
    EXPECT_EQ(spoken(menu), (Lines{"Built-in，主屏，开", "Right，开", "Left，关"}));
}

struct NameRow {
    const char* name;
    std::string displayName;

    friend void PrintTo(const NameRow& row, std::ostream* stream) { *stream << row.name; }
};

class NameInTheMenu : public AppDelegateTest, public testing::WithParamInterface<NameRow> {
protected:
    void bootWithName() {
        const nlohmann::json displays = {{{"id", 1}, {"main", true}},
                                         {{"id", 2}, {"profilerName", GetParam().displayName}}};
        boot(nlohmann::json{{"displays", displays}}.dump());
        launch();
    }
};

TEST_P(NameInTheMenu, is_shown_whole_in_a_row_like_any_other) {
    bootWithName();
    PowerSwitchRowView* const row = switchRow(openMenu(), 2);
    EXPECT_EQ(utf8Text([[row titleLabel] stringValue]), GetParam().displayName);
    [row layoutSubtreeIfNeeded];
    EXPECT_TRUE(NSEqualSizes([row frame].size, NSMakeSize(280, 40)));
    EXPECT_EQ(NSMaxX([[row powerSwitch] frame]), 264);
    flip(row);
    EXPECT_FALSE(Mac::current().display(2).lit);
    EXPECT_TRUE(rows().at(5).contains("已断开显示器")) << rows().at(5);
}

TEST_P(NameInTheMenu, is_no_part_of_an_alert) {
    bootWithName();
    Mac::current().failCall(fails("CGGetActiveDisplayList").every().with(1001));
    flip(switchRow(openMenu(), 2));
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_TRUE(alerts[0].information.starts_with("显示器 ID: 2\n"
                                                  "方法: 断开显示器（SLS）\n"
                                                  "拒绝断开：只剩这一台活动显示器\n\n"
                                                  "说明："))
        << alerts[0].information;
}

INSTANTIATE_TEST_SUITE_P(Each, NameInTheMenu,
                         testing::Values(NameRow{"of_10000_characters", std::string(10'000, 'x')},
                                         NameRow{"with_control_characters", "A\x1B[31mB\x07\x7F\r"},
                                         NameRow{"from_right_to_left", "שולחן \u202Eabc\u202C"},
                                         NameRow{"with_joined_emoji",
                                                 "👨‍👩‍👧‍👦 Desk"},
                                         NameRow{"with_a_zero_character", std::string("A\0B", 3)},
                                         NameRow{"with_tab_and_line_feeds", "A\tB\nC\nD\nE"},
                                         NameRow{"with_other_line_ends", "A\u2028B\u0085C\v\f"}),
                         [](const auto& info) { return info.param.name; });

TEST_F(AppDelegateTest, of_33_displays_32_have_their_row) {
    boot(scene({numberedDisplays(33)}));
    launch();
    NSMenu* const menu = openMenu();
    for (const CGDirectDisplayID displayID : {1U, 16U, 17U, 32U}) {
        EXPECT_NE(switchRow(menu, displayID), nil) << displayID;
    }
    EXPECT_EQ(switchRow(menu, 33), nil);
    // Header, separators between the rows and below them, quit, spacer.
    EXPECT_EQ([menu numberOfItems], 1 + 32 + 31 + 1 + 2);
}

TEST_F(AppDelegateTest, the_largest_id_has_its_row_and_its_alert_like_any_other) {
    Mac& mac = boot(scene({main1, R"({ "id": 4294967295 })"}));
    launch();
    NSMenu* const menu = openMenu();
    flip(switchRow(menu, 4294967295));
    EXPECT_FALSE(mac.display(4294967295).lit);
    EXPECT_FALSE(isOn(switchRow(menu, 4294967295)));
    mac.failCall(fails("SLSConfigureDisplayEnabled").with(1001));
    flip(switchRow(menu, 4294967295));
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_TRUE(alerts[0].information.starts_with("显示器 ID: 4294967295\n"));
}

TEST_F(AppDelegateTest, a_remembered_id_0_that_skylight_knows_has_its_row) {
    Mac& mac = boot(scene({main1, plain2}, {remembered("[0]")}));
    mac.failCall({.call = "SLSGetDisplayList", .nth = 0, .list = simulated_mac::ListFault::zero});
    launch();
    NSMenu* const menu = openMenu();
    EXPECT_EQ(row([menu itemAtIndex:5]), "enabled switch 0 '显示器 0' off height 40");
    flip(switchRow(menu, 0));
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_TRUE(alerts[0].information.starts_with("显示器 ID: 0\n"));
    EXPECT_TRUE(mac.display(1).lit);
    EXPECT_TRUE(mac.display(2).lit);
}

TEST_F(AppDelegateTest, a_display_that_was_switched_off_by_ddc_is_shown_as_on) {
    Mac& mac = boot(
        scene({builtIn1, R"({ "id": 2, "profilerName": "Left", "ddc": { "brightness": 40 } })"},
              {noSkyLight}));
    launch();
    NSMenu* const menu = openMenu();
    flip(switchRow(menu, 2));
    EXPECT_EQ(mac.display(2).power, "standby");
    EXPECT_TRUE(isOn(switchRow(menu, 2)));
    EXPECT_EQ(rows()[3], "enabled switch 2 'Left' on height 40");
}

TEST_F(AppDelegateTest, the_current_main_display_is_refused_with_a_beep_and_without_a_power_call) {
    Mac& mac = boot(threeDisplays);
    launch();
    NSMenu* const menu = openMenu();
    mac.unplug(1);
    ASSERT_TRUE(mac.display(2).main);
    mac.clearCalls();
    flip(switchRow(menu, 2));
    EXPECT_EQ(calls(), (Lines{"CGDisplayIsMain(2) = 1", "NSBeep()"}));
    EXPECT_TRUE(isOn(switchRow(menu, 2)));
    EXPECT_TRUE(mac.display(2).enabled);
    EXPECT_TRUE(alerts.empty());
    EXPECT_EQ(rows()[5], "disabled '主屏禁止关闭' 11 tertiary height 28");
}

TEST_F(AppDelegateTest, a_failure_shows_an_alert_and_the_switch_returns_to_the_real_state) {
    Mac& mac = boot(threeDisplays);
    launch();
    flip(switchRow(openMenu(), 2));
    mac.failCall(fails("SLSConfigureDisplayEnabled").with(1001));
    NSMenu* const menu = openMenu();
    flip(switchRow(menu, 2));
    EXPECT_FALSE(isOn(switchRow(menu, 2)));
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0].message, "无法打开显示器");
    EXPECT_EQ(alerts[0].style, NSAlertStyleWarning);
    EXPECT_EQ(alerts[0].buttons, Lines{"好"});
    EXPECT_TRUE(alerts[0].wasActivatedBefore);
    EXPECT_EQ(alerts[0].level, NSFloatingWindowLevel);
    EXPECT_FALSE(alerts[0].preventsQuitting);
    EXPECT_EQ(alerts[0].information,
              "显示器 ID: 2\n"
              "方法: 断开显示器（SLS）\n"
              "重连失败：SLSConfigureDisplayEnabled 失败 CGError 1001"
              "\n\n"
              "说明：\n"
              "• 优先 SLS 真断开（系统设置中消失，与 Nocturne BlackOut 一致）\n"
              "• 失败时回退 DDC / 镜像+Gamma\n"
              "• 主屏禁止关闭；至少保留一台活动显示器");
}

TEST_F(AppDelegateTest, a_failed_switch_off_names_the_method_and_leaves_the_switch_on) {
    // Without another display nothing is left to mirror, and gamma cannot be saved either.
    Mac& mac = boot(scene({builtIn1, left2}));
    launch();
    NSMenu* const menu = openMenu();
    mac.failCall(fails("CGGetActiveDisplayList").every().with(1001));
    mac.failCall(fails("CGGetOnlineDisplayList").every().with(1001));
    flip(switchRow(menu, 2));
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0].message, "无法关闭显示器");
    EXPECT_TRUE(isOn(switchRow(menu, 2)));
    EXPECT_TRUE(rows().at(3).starts_with("disabled '关： ")) << rows().at(3);
}

TEST_F(AppDelegateTest, the_switch_has_returned_before_the_alert_is_shown) {
    boot(scene({builtIn1, left2}, {faults({fails("CGGetActiveDisplayList").every().with(1001)})}));
    launch();
    PowerSwitchRowView* const row = switchRow(openMenu(), 2);
    bool wasOn = false;
    whenShown = [&wasOn, row] { wasOn = isOn(row); };
    flip(row);
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_TRUE(wasOn);
}

TEST_F(AppDelegateTest, an_alert_names_the_mechanism_that_failed) {
    const std::pair<PowerMethod, std::string> mechanisms[] = {
        {PowerMethod::disconnect, "断开显示器（SLS）"},
        {PowerMethod::ddc, "DDC 硬件电源"},
        {PowerMethod::blackout, "BlackOut（镜像+Gamma）"}};
    for (const auto& [method, name] : mechanisms) {
        showAlert(false, 3, {method, false, "nothing works"});
        EXPECT_TRUE(alerts.back().information.starts_with("显示器 ID: 3\n方法: " + name +
                                                          "\nnothing works\n"))
            << alerts.back().information;
    }
}

TEST_F(AppDelegateTest, a_rebuilt_menu_keeps_no_row_of_a_display_that_has_gone) {
    Mac& mac = boot(threeDisplays);
    launch();
    NSRef<PowerSwitchRowView> row;
    @autoreleasepool {
        row = NSRef<PowerSwitchRowView>::retain(switchRow(openMenu(), 3));
    }
    mac.unplug(3);
    @autoreleasepool {
        openMenu();
    }
    EXPECT_EQ([row.get() retainCount], 1U) << "somebody else holds it, too";
}

TEST_F(AppDelegateTest, a_row_of_an_earlier_menu_moves_no_switch_of_the_one_that_is_shown) {
    Mac& mac = boot(threeDisplays);
    launch();
    const auto earlier = NSRef<PowerSwitchRowView>::retain(switchRow(openMenu(), 3));
    mac.unplug(3);
    NSMenu* const menu = openMenu();
    mac.clearCalls();
    flip(earlier.get());
    EXPECT_FALSE(calls().empty());
    EXPECT_EQ([[switchRow(menu, 2) powerSwitch] state], NSControlStateValueOn);
    EXPECT_EQ([[earlier.get() powerSwitch] state], NSControlStateValueOff);
}

TEST_F(AppDelegateTest, a_row_whose_delegate_is_gone_does_nothing) {
    Mac& mac = boot(threeDisplays);
    launch();
    const auto row = NSRef<PowerSwitchRowView>::retain(switchRow(openMenu(), 2));
    {
        // The status item and its menu go with the delegate.
        const NSRef<AppDelegate> last = std::move(delegate);
    }
    mac.clearCalls();
    flip(row.get());
    EXPECT_TRUE(calls().empty());
    EXPECT_TRUE(mac.display(2).enabled);
}

TEST_F(AppDelegateTest, terminating_restores_every_display_under_blackout_and_nothing_else) {
    Mac& mac = boot(threeDisplays);
    launch();
    flip(switchRow(openMenu(), 3));
    BlackoutController::shared().blackout(2);
    ASSERT_EQ(mac.display(2).gamma, "zero");
    [delegate.get() applicationWillTerminate:anyNotification()];
    EXPECT_EQ(mac.display(2).gamma, "normal");
    EXPECT_FALSE(mac.display(3).enabled);
}

// A click on a view's row is the view's, and an item's view need not get the key equivalent.
TEST_F(AppDelegateTest, a_click_on_the_quit_row_is_recognized_and_does_what_the_item_does) {
    launch();
    NSMenu* const menu = openMenu();
    for (NSMenuItem* item in [menu itemArray]) {
        NSArray* const recognizers = [[item view] gestureRecognizers];
        const bool isQuit = [[item keyEquivalent] isEqualToString:@"q"];
        ASSERT_EQ([recognizers count], isQuit ? 1U : 0U);
        if (isQuit) {
            NSClickGestureRecognizer* const click = [recognizers objectAtIndex:0];
            EXPECT_TRUE([click isKindOfClass:[NSClickGestureRecognizer class]]);
            EXPECT_EQ([click target], [item target]);
            EXPECT_EQ(name([click action]), name([item action]));
        }
    }
}

TEST_F(AppDelegateTest, command_q_goes_through_the_menu_to_the_application) {
    launch();
    static Lines order;
    const ReplacedMethod cancel(
        [NSMenu class], @selector(cancelTracking),
        implementationOf(+[](NSMenu*, SEL) { order.emplace_back("cancelled"); }));
    const ReplacedMethod terminate(
        [NSApplication class], @selector(terminate:),
        implementationOf(+[](NSApplication*, SEL, id) { order.emplace_back("terminated"); }));
    NSEvent* const commandQ = [NSEvent keyEventWithType:NSEventTypeKeyDown
                                               location:NSZeroPoint
                                          modifierFlags:NSEventModifierFlagCommand
                                              timestamp:0
                                           windowNumber:0
                                                context:nil
                                             characters:@"q"
                            charactersIgnoringModifiers:@"q"
                                              isARepeat:NO
                                                keyCode:12];
    EXPECT_FALSE([[[delegate.get() statusItem] menu] performKeyEquivalent:commandQ])
        << "it was never opened";
    EXPECT_TRUE([openMenu() performKeyEquivalent:commandQ]);
    // Once by the menu, once by quitting, which a click does without the menu.
    EXPECT_EQ(order, (Lines{"cancelled", "cancelled", "terminated"}));
}

TEST_F(AppDelegateTest, every_items_view_has_its_size_when_the_menu_is_built) {
    boot(threeDisplays);
    launch();
    for (NSMenuItem* item in [openMenu() itemArray]) {
        if (NSView* const view = [item view]) {
            EXPECT_EQ(NSWidth([view frame]), 280);
            EXPECT_TRUE(NSEqualSizes([view frame].size, [view fittingSize]));
            EXPECT_GE(NSHeight([view frame]), 8);
        }
    }
}

TEST_F(AppDelegateTest, the_menu_is_cancelled_without_animation_before_an_alert) {
    Mac& mac = boot(threeDisplays);
    mac.failCall({.call = "CGGetActiveDisplayList", .nth = 0, .returns = 1001});
    launch();
    const ReplacedMethod cancel(
        [NSMenu class], @selector(cancelTrackingWithoutAnimation),
        implementationOf(+[](NSMenu*, SEL) { toldMenu.emplace_back("cancelled"); }));
    flip(switchRow(openMenu(), 2));
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0].before, Lines{"cancelled"});
}

TEST_F(AppDelegateTest, restorable_state_is_said_to_be_secure) {
    EXPECT_TRUE([delegate.get() applicationSupportsSecureRestorableState:NSApp]);
}

TEST_F(AppDelegateTest, quitting_no_application_is_a_mistake_that_ends_the_program) {
    const auto quitNothing = [this] {
        NSApp = nil;
        [delegate.get() quit];
    };
    EXPECT_EXIT(quitNothing(), testing::KilledBySignal(SIGABRT),
                "Fatal error: there is no application to quit\n");
}

TEST_F(AppDelegateTest, quitting_closes_the_menu_and_terminates_the_application) {
    boot(threeDisplays);
    launch();
    static id sender = @"not asked";
    static Lines order;
    const ReplacedMethod terminate([NSApplication class], @selector(terminate:),
                                   implementationOf(+[](NSApplication*, SEL, id from) {
                                       sender = from;
                                       order.emplace_back("terminated");
                                   }));
    const ReplacedMethod cancel(
        [NSMenu class], @selector(cancelTracking),
        implementationOf(+[](NSMenu*, SEL) { order.emplace_back("cancelled"); }));
    [delegate.get() quit];
    EXPECT_EQ(sender, nil);
    EXPECT_EQ(order, (Lines{"cancelled", "terminated"}));
}

// AppKit would otherwise have the menu rebuilt, under the pointer if it is open, for every key that
// is pressed together with Command.
TEST_F(AppDelegateTest, answers_for_the_menus_keys_without_a_rebuild) {
    boot(threeDisplays);
    launch();
    NSMenu* const menu = openMenu();
    const auto answerFor = [&](NSString* key) {
        NSEvent* const event = [NSEvent keyEventWithType:NSEventTypeKeyDown
                                                location:NSZeroPoint
                                           modifierFlags:NSEventModifierFlagCommand
                                               timestamp:0
                                            windowNumber:0
                                                 context:nil
                                              characters:key
                             charactersIgnoringModifiers:key
                                               isARepeat:NO
                                                 keyCode:0];
        id target = nil;
        SEL action = nullptr;
        const bool has = [delegate.get() menuHasKeyEquivalent:menu
                                                     forEvent:event
                                                       target:&target
                                                       action:&action];
        const bool quits = target == delegate.get() && name(action) == "quit";
        return has ? (quits ? "quits" : "does something else") : "nothing";
    };
    Mac::current().clearCalls();
    EXPECT_STREQ(answerFor(@"q"), "quits");
    EXPECT_STREQ(answerFor(@"w"), "nothing");
    EXPECT_EQ(calls(), Lines());
}

} // namespace

} // namespace veilpane::test
