// The application as a person uses it: with mouse and keyboard, looking at the screen.

#include "EndToEnd/Desktop.h"
#include "EndToEnd/ProgramRun.h"
#include "Support/Files.h"
#include "Support/LogText.h"
#include "Support/Scenes.h"

#include <gtest/gtest.h>

namespace {

const std::string threeDisplays = scene({builtIn1, left2, right3});

// Without SkyLight and DDC only BlackOut is left.
const std::string onlyBlackout = scene({builtIn1, left2, right3}, {noSkyLight});

// Nothing is known to be active, so that no display may be switched off.
const std::string nothingWorks = scene(
    {builtIn1, left2, right3}, {faults({fails("CGGetActiveDisplayList").every().with(1001)})});

constexpr const char* loggedLaunch = "[time] applicationDidFinishLaunching\n"
                                     "[time] status item created image=true buttonWidth=24.0\n";

// Where things are on the screen of 1280 × 800.
constexpr Point statusItem = {1256, 12};
constexpr Point besideTheItem = {600, 5};
constexpr Point dock = {640, 790};
constexpr Point menuCorner = {1000, 36};
constexpr Point besideTheMenu = {300, 700};
constexpr Point alertButton = {640, 480};

constexpr Point switchOf(int row) {
    return {1238, 83 + 51 * row};
}
constexpr Point leftPartOf(Point powerSwitch) {
    return {powerSwitch.x - 11, powerSwitch.y};
}
constexpr Point quitRow = {1100, 234};

constexpr Color menuBarBackground = 0xEEEEEE;
constexpr Color menuBackground = 0xF7F7F7;
constexpr Color accent = 0x0A7AFF;
constexpr Color greyTrack = 0xD5D5D5;
constexpr Color otherProgram = 0x336633;

/// What Macs differ in.
struct Habit {
    std::string name;
    std::map<std::string, std::string> environment;

    friend std::ostream& operator<<(std::ostream& stream, const Habit& habit) {
        return stream << habit.name;
    }
};

const Habit kind = {"kind", {}};
const Habit deadKeys = {"deadKeys", {{"APPKIT_VIEW_ITEM_KEYS", "dead"}}};
const Habit noActivation = {"noActivation", {{"APPKIT_ACTIVATION", "refused"}}};
const Habit rowsByFrame = {"rowsByFrame", {{"APPKIT_MENU_ROWS", "frames"}}};
const Habit deadAlerts = {"deadAlerts", {{"APPKIT_ALERT_IN_MENU", "dead"}}};
const Habit greySwitches = {"greySwitches", {{"APPKIT_MENU_SWITCHES", "grey"}}};
const Habit unkind = {"unkind",
                      {{"APPKIT_VIEW_ITEM_KEYS", "dead"},
                       {"APPKIT_ACTIVATION", "refused"},
                       {"APPKIT_MENU_ROWS", "frames"},
                       {"APPKIT_ALERT_IN_MENU", "dead"},
                       {"APPKIT_MENU_SWITCHES", "grey"}}};

class MenuBarApplication : public testing::Test {
protected:
    void start(const std::string& scene, const std::vector<std::string>& arguments = {}) {
        run(scene, arguments);
        ASSERT_TRUE(eventually([&] { return application->errorsSoFar().contains("buttonWidth"); }))
            << application->errorsSoFar();
    }

    void run(const std::string& scene, const std::vector<std::string>& arguments = {}) {
        mac.emplace(scene);
        application = mac->start(arguments, habit.environment);
    }

    void runInShell(const std::string& text) {
        mac.emplace(threeDisplays);
        application = std::make_unique<RunningProgram>(
            "/bin/bash", std::vector<std::string>{"-c", text}, mac->environment());
    }

    bool isMenuOpen() { return desktop.colorAt(menuCorner) == menuBackground; }

    void openMenu() {
        ASSERT_TRUE(
            eventually([&] { return desktop.colorAt(besideTheItem) == menuBarBackground; }));
        desktop.click(statusItem);
        ASSERT_TRUE(eventually([&] { return isMenuOpen(); }));
    }

    void closeMenu() {
        desktop.pressEscape();
        ASSERT_TRUE(eventually([&] { return !isMenuOpen(); }));
    }

    bool isShownOn(int row) {
        const bool isGrey = habit.environment.contains("APPKIT_MENU_SWITCHES");
        return desktop.colorAt(leftPartOf(switchOf(row))) == (isGrey ? greyTrack : accent);
    }

    // Where an alert opens.
    void coverTheMiddle() {
        desktop.coverWith(otherProgram, {400, 100}, {900, 700});
        ASSERT_TRUE(eventually([&] { return desktop.colorAt({640, 400}) == otherProgram; }));
    }

    nlohmann::json display(std::uint32_t id) { return mac->display(id); }

    // Somewhere below the middle of the screen.
    bool isAlertShown() {
        for (int y = 300; y < 600; y += 4) {
            if (desktop.colorAt({530, y}) == accent) {
                alertButtonHeight = y + 8;
                return true;
            }
        }
        return false;
    }

    ProgramRun quit() {
        openMenu();
        desktop.pressCommand('q');
        return end();
    }

    ProgramRun end() {
        ProgramRun run = finish();
        run.errors = withoutTimes(run.errors);
        return run;
    }

    ProgramRun finish() {
        EXPECT_TRUE(eventually([&] { return !application->isRunning(); }));
        return application->isRunning() ? ProgramRun{} : application->finish();
    }

    static ProgramRun cleanRun() {
        return {0, "", std::string("Veilpane GUI starting…\n") + loggedLaunch};
    }

    Habit habit = kind;
    Desktop desktop;
    std::optional<MacOnDisk> mac;
    std::unique_ptr<RunningProgram> application;
    int alertButtonHeight = 0;
};

/// A Mac with one of the habits that Macs differ in.
class OnMac : public MenuBarApplication, public testing::WithParamInterface<Habit> {
protected:
    OnMac() { habit = GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Each, OnMac,
                         testing::Values(kind, deadKeys, noActivation, rowsByFrame, deadAlerts,
                                         greySwitches, unkind),
                         [](const auto& info) { return info.param.name; });

TEST_P(OnMac, a_flipped_switch_switches_the_display_off_and_stays) {
    start(threeDisplays);
    openMenu();
    EXPECT_TRUE(isShownOn(1));
    desktop.click(switchOf(1));
    EXPECT_TRUE(eventually([&] { return display(2).at("enabled") == false; }));
    EXPECT_TRUE(eventually([&] { return !isShownOn(1); }));
    EXPECT_TRUE(display(3).at("enabled"));
    EXPECT_TRUE(isMenuOpen());
    closeMenu();
    EXPECT_EQ(quit(), cleanRun());
    EXPECT_EQ(display(2).at("enabled"), false) << "a disconnected display stays so";
}

TEST_F(MenuBarApplication, flipping_it_back_switches_the_display_on) {
    start(threeDisplays);
    openMenu();
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return !isShownOn(1); }));
    desktop.click(switchOf(1));
    EXPECT_TRUE(eventually([&] { return isShownOn(1); }));
    EXPECT_EQ(display(2).at("enabled"), true);
}

TEST_P(OnMac, a_failure_closes_the_menu_and_shows_an_alert_and_the_switch_returns) {
    start(nothingWorks);
    openMenu();
    ASSERT_TRUE(isShownOn(1));
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return isAlertShown(); }));
    EXPECT_FALSE(isMenuOpen());
    // A click that comes while the alert is still opening is lost, as on a Mac.
    ASSERT_TRUE(eventually([&] {
        desktop.click({alertButton.x, alertButtonHeight});
        return !isAlertShown();
    }));
    openMenu();
    EXPECT_TRUE(eventually([&] { return isShownOn(1); }));
    EXPECT_EQ(display(2).at("lit"), true);
    closeMenu();
    EXPECT_EQ(quit(), cleanRun());
}

TEST_P(OnMac, an_alert_lies_above_the_windows_of_other_programs) {
    start(nothingWorks);
    openMenu();
    coverTheMiddle();
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return isAlertShown(); }));
    // A click that comes while the alert is still opening is lost, as on a Mac.
    EXPECT_TRUE(eventually([&] {
        desktop.click({alertButton.x, alertButtonHeight});
        return !isAlertShown();
    }));
}

TEST_F(MenuBarApplication, a_display_that_has_become_the_main_one_stays_on_with_a_beep) {
    start(threeDisplays);
    openMenu();
    ASSERT_TRUE(eventually([&] { return isShownOn(1); }));
    ASSERT_EQ(mac->macsim({"main", "2"}).status, 0);
    desktop.click(switchOf(1));
    desktop.pressCommand('q');
    EXPECT_EQ(finish().status, 0);
    EXPECT_TRUE(mac->macsim({"calls"}).output.contains("NSBeep"));
    EXPECT_EQ(display(2).at("enabled"), true);
}

TEST_F(MenuBarApplication, return_dismisses_the_alert) {
    start(nothingWorks);
    openMenu();
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return isAlertShown(); }));
    desktop.pressReturn();
    EXPECT_TRUE(eventually([&] { return !isAlertShown(); }));
}

TEST_P(OnMac, command_q_quits_while_the_menu_is_open) {
    start(threeDisplays);
    EXPECT_EQ(quit(), cleanRun());
    EXPECT_EQ(withoutTimes(contentOf(mac->environment().at("TMPDIR") + "/Veilpane.log")),
              loggedLaunch);
}

TEST_P(OnMac, a_click_on_the_quit_row_quits) {
    start(threeDisplays);
    openMenu();
    desktop.click(quitRow);
    EXPECT_EQ(end(), cleanRun());
}

// Were the menu rebuilt, the row of the unplugged display would be gone.
TEST_P(OnMac, another_command_key_leaves_the_open_menu_as_it_is) {
    start(threeDisplays);
    openMenu();
    ASSERT_TRUE(eventually([&] { return isShownOn(2); }));
    ASSERT_EQ(mac->macsim({"unplug", "3"}).status, 0);
    desktop.pressCommand('x');
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return display(2).at("enabled") == false; }));
    EXPECT_TRUE(isShownOn(2));
    EXPECT_TRUE(isMenuOpen());
}

TEST_F(MenuBarApplication, it_lives_in_the_menu_bar_and_not_in_the_dock) {
    start(threeDisplays);
    EXPECT_TRUE(eventually([&] { return desktop.colorAt(besideTheItem) == menuBarBackground; }));
    EXPECT_NE(desktop.colorAt(dock), accent);
    EXPECT_EQ(quit().status, 0);
}

TEST_F(MenuBarApplication, a_word_on_the_command_line_is_not_opened_as_a_document) {
    start(threeDisplays, {"list"});
    EXPECT_EQ(quit(), cleanRun());
}

TEST_F(MenuBarApplication, a_switch_that_is_on_is_grey_where_menus_do_not_look_key) {
    habit = greySwitches;
    start(threeDisplays);
    openMenu();
    EXPECT_TRUE(isShownOn(1));
    desktop.click(switchOf(1));
    EXPECT_TRUE(eventually([&] { return !isShownOn(1); })) << "the knob is on the left";
}

TEST_F(MenuBarApplication, a_second_one_starts_beside_the_first) {
    start(threeDisplays);
    const auto second = mac->start({});
    EXPECT_TRUE(eventually([&] { return second->errorsSoFar().contains("buttonWidth"); }));
    EXPECT_TRUE(application->isRunning());
}

TEST_F(MenuBarApplication, a_click_beside_the_menu_closes_it) {
    start(threeDisplays);
    openMenu();
    desktop.click(besideTheMenu);
    EXPECT_TRUE(eventually([&] { return !isMenuOpen(); }));
    EXPECT_EQ(quit(), cleanRun());
}

TEST_P(OnMac, quitting_restores_a_display_under_blackout) {
    start(onlyBlackout);
    openMenu();
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return display(2).at("gamma") == "zero"; }));
    ASSERT_TRUE(eventually([&] { return !isShownOn(1); }));
    desktop.pressCommand('q');
    EXPECT_EQ(finish().status, 0);
    EXPECT_EQ(display(2).at("gamma"), "normal");
    EXPECT_EQ(display(2).at("mirrors"), 0);
    EXPECT_EQ(display(2).at("lit"), true);
}

TEST_F(MenuBarApplication, the_next_opening_shows_the_present_displays) {
    start(threeDisplays);
    ASSERT_EQ(mac->macsim({"unplug", "3"}).status, 0);
    openMenu();
    EXPECT_TRUE(isShownOn(1)) << "display 2";
    EXPECT_FALSE(isShownOn(2)) << "no row";
}

TEST_F(MenuBarApplication, a_logout_ends_it_before_its_menu_was_ever_opened) {
    start(threeDisplays);
    ASSERT_EQ(mac->macsim({"logout"}), (ProgramRun{0, "", ""}));
    EXPECT_FALSE(application->isRunning());
    EXPECT_EQ(finish().status, 0) << "it quits as it does by its menu";
}

TEST_P(OnMac, a_logout_ends_it_while_its_menu_is_open) {
    start(threeDisplays);
    openMenu();
    ASSERT_EQ(mac->macsim({"logout"}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(finish().status, 0) << "it quits as it does by its menu";
}

TEST_P(OnMac, a_logout_ends_it_while_an_alert_is_shown) {
    start(nothingWorks);
    openMenu();
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return isAlertShown(); }));
    ASSERT_EQ(mac->macsim({"logout"}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(finish().status, 0) << "it quits as it does by its menu";
}

TEST_F(MenuBarApplication, unknown_options_start_it) {
    for (const char* option : {"--help", "-list", "--List", "--list=1"}) {
        start(threeDisplays, {option});
        EXPECT_EQ(quit(), cleanRun()) << option;
    }
}

TEST_F(MenuBarApplication, a_habit_that_no_mac_has_ends_it_with_one_line) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"APPKIT_ACTIVATION", "sometimes",
         "AppKit's stand-in: APPKIT_ACTIVATION is 'sometimes', neither granted nor refused\n"},
        {"APPKIT_ACTIVATON", "refused",
         "AppKit's stand-in: there is no variable APPKIT_ACTIVATON\n"}};
    for (const auto& [variable, value, complaint] : rows) {
        habit = {"unknown", {{variable, value}}};
        run(threeDisplays);
        EXPECT_EQ(finish(), (ProgramRun{2, "", complaint})) << variable;
    }
}

TEST_F(MenuBarApplication, a_habit_without_a_value_is_the_kind_one) {
    habit = {"empty", {{"APPKIT_MENU_ROWS", ""}}};
    start(threeDisplays);
    EXPECT_EQ(quit(), cleanRun());
}

struct UnusableStream {
    const char* name;
    const char* redirection;

    friend void PrintTo(const UnusableStream& row, std::ostream* stream) { *stream << row.name; }
};

class MenuBarApplicationWithout : public MenuBarApplication,
                                  public testing::WithParamInterface<UnusableStream> {};

// Nobody can be told then, but the application works.
TEST_P(MenuBarApplicationWithout, a_usable_standard_stream_works_and_logs_to_its_file) {
    runInShell("exec " + veilpaneInShell() + GetParam().redirection);
    const std::string log = mac->environment().at("TMPDIR") + "/Veilpane.log";
    ASSERT_TRUE(eventually([&] { return contentOf(log).contains("buttonWidth"); }));
    openMenu();
    desktop.click(switchOf(1));
    EXPECT_TRUE(eventually([&] { return display(2).at("enabled") == false; }));
    desktop.pressCommand('q');
    EXPECT_EQ(finish().status, 0);
    EXPECT_EQ(withoutTimes(contentOf(log)), loggedLaunch);
}

INSTANTIATE_TEST_SUITE_P(StandardStreams, MenuBarApplicationWithout,
                         testing::Values(UnusableStream{"input_closed", "<&-"},
                                         UnusableStream{"output_closed", ">&-"},
                                         UnusableStream{"error_closed", "2>&-"},
                                         UnusableStream{"error_full", "2>/dev/full"},
                                         UnusableStream{"all_closed", "<&- >&- 2>&-"},
                                         UnusableStream{"error_without_reader", "2> >(exec true)"}),
                         [](const auto& info) { return info.param.name; });

struct UnusablePlace {
    const char* name;
    const char* path; ///< for the shell

    friend void PrintTo(const UnusablePlace& row, std::ostream* stream) { *stream << row.name; }
};

class MenuBarApplicationIn : public MenuBarApplication,
                             public testing::WithParamInterface<UnusablePlace> {
protected:
    void startIn(const std::string& temporaryDirectory) {
        runInShell("export TMPDIR=" + temporaryDirectory + "; exec " + veilpaneInShell());
        ASSERT_TRUE(eventually([&] { return application->errorsSoFar().contains("buttonWidth"); }))
            << application->errorsSoFar();
    }
};

TEST_P(MenuBarApplicationIn, an_unusable_temporary_directory_works_and_logs_to_standard_error) {
    startIn(GetParam().path);
    openMenu();
    desktop.click(switchOf(1));
    EXPECT_TRUE(eventually([&] { return display(2).at("enabled") == false; }));
    desktop.pressCommand('q');
    EXPECT_EQ(end(), cleanRun());
}

// Nobody can make a file in /proc, not even root, who may write to a folder without write access.
INSTANTIATE_TEST_SUITE_P(Each, MenuBarApplicationIn,
                         testing::Values(UnusablePlace{"not_writable", "/proc"},
                                         UnusablePlace{"missing", "\"$TMPDIR/none\""},
                                         UnusablePlace{"a_file", "\"$SIMULATED_MAC_SCENE\""},
                                         UnusablePlace{"a_device", "/dev/full"}),
                         [](const auto& info) { return info.param.name; });

TEST_F(MenuBarApplication, a_temporary_directory_that_vanishes_is_not_missed) {
    runInShell("TMPDIR=$TMPDIR/own; mkdir \"$TMPDIR\"; exec " + veilpaneInShell());
    const std::string own = mac->environment().at("TMPDIR") + "/own";
    ASSERT_TRUE(
        eventually([&] { return contentOf(own + "/Veilpane.log").contains("buttonWidth"); }));
    std::filesystem::remove_all(own);
    EXPECT_EQ(quit(), cleanRun());
    EXPECT_FALSE(std::filesystem::exists(own));
}

// Such a menu is higher than the screen.
TEST_F(MenuBarApplication, a_menu_of_33_displays_opens_and_switches) {
    start(scene({builtIn1, R"({ "id": 2, "screenName": "A" })",
                 numberedDisplays(33).substr(numberedDisplays(2).size() + 2)}));
    openMenu();
    EXPECT_TRUE(isShownOn(1));
    desktop.click(switchOf(1));
    EXPECT_TRUE(eventually([&] { return display(2).at("enabled") == false; }));
    EXPECT_TRUE(eventually([&] { return !isShownOn(1); }));
    desktop.pressCommand('q');
    EXPECT_EQ(end(), cleanRun());
}

} // namespace
