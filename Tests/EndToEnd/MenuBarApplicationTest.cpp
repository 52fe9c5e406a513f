// The application as a person uses it: with mouse and keyboard, looking at the screen.

#include "EndToEnd/Desktop.h"
#include "EndToEnd/ProgramRun.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

namespace {

using nlohmann::json;

constexpr const char* threeDisplays = R"({ "displays": [
    { "id": 1, "builtin": true, "main": true, "profilerName": "Built-in" },
    { "id": 2, "profilerName": "Left" }, { "id": 3, "profilerName": "Right" } ] })";

// Without SkyLight and DDC only BlackOut is left.
constexpr const char* onlyBlackout = R"({ "skylight": false, "displays": [
    { "id": 1, "builtin": true, "main": true, "profilerName": "Built-in" },
    { "id": 2, "profilerName": "Left" }, { "id": 3, "profilerName": "Right" } ] })";

// Nothing is known to be active, so that no display may be switched off.
constexpr const char* nothingWorks = R"({ "displays": [
    { "id": 1, "builtin": true, "main": true, "profilerName": "Built-in" },
    { "id": 2, "profilerName": "Left" }, { "id": 3, "profilerName": "Right" } ],
    "faults": [ { "call": "CGGetActiveDisplayList", "nth": 0, "returns": 1001 } ] })";

constexpr const char* loggedLaunch = "[time] applicationDidFinishLaunching\n"
                                     "[time] status item created image=true buttonWidth=24.0\n";

// Where things are on the screen of 1280 × 800.
constexpr Point statusItem = {1256, 12};
constexpr Point besideTheItem = {600, 5};
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

std::string contentOf(const std::string& file) {
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

std::string withoutTimes(const std::string& log) {
    return std::regex_replace(log, std::regex(R"(\[\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\])"), "[time]");
}

class MenuBarApplication : public testing::Test {
protected:
    void start(const std::string& scene, const std::vector<std::string>& arguments = {}) {
        run(scene, VEILPANE_EXECUTABLE, arguments);
        ASSERT_TRUE(eventually([&] { return application->errorsSoFar().contains("buttonWidth"); }))
            << application->errorsSoFar();
    }

    void run(const std::string& scene, const std::string& executable,
             const std::vector<std::string>& arguments) {
        mac.emplace(scene);
        application = std::make_unique<RunningProgram>(executable, arguments, mac->environment());
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

    bool isShownOn(int row) { return desktop.colorAt(leftPartOf(switchOf(row))) == accent; }

    json display(int id) {
        for (const json& display :
             json::parse(mac->macsim({"show", "--json"}).output).at("displays")) {
            if (display.at("id") == id) {
                return display;
            }
        }
        return nullptr;
    }

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

    Desktop desktop;
    std::optional<MacOnDisk> mac;
    std::unique_ptr<RunningProgram> application;
    int alertButtonHeight = 0;
};

TEST_F(MenuBarApplication, a_flipped_switch_switches_the_display_off_and_stays) {
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

TEST_F(MenuBarApplication, a_failure_shows_an_alert_and_the_switch_returns) {
    start(nothingWorks);
    openMenu();
    ASSERT_TRUE(isShownOn(1));
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return isAlertShown(); }));
    desktop.click({alertButton.x, alertButtonHeight});
    EXPECT_TRUE(eventually([&] { return !isAlertShown(); }));
    EXPECT_TRUE(eventually([&] { return isShownOn(1); }));
    EXPECT_EQ(display(2).at("lit"), true);
    closeMenu();
    EXPECT_EQ(quit(), cleanRun());
}

TEST_F(MenuBarApplication, return_dismisses_the_alert) {
    start(nothingWorks);
    openMenu();
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return isAlertShown(); }));
    desktop.pressReturn();
    EXPECT_TRUE(eventually([&] { return !isAlertShown(); }));
}

TEST_F(MenuBarApplication, command_q_quits_while_the_menu_is_open) {
    start(threeDisplays);
    EXPECT_EQ(quit(), cleanRun());
    EXPECT_EQ(withoutTimes(contentOf(mac->environment().at("TMPDIR") + "/Veilpane.log")),
              loggedLaunch);
}

// AppKit sends no action for a click on an item's view, and the row does not ask for the mouse.
TEST_F(MenuBarApplication, a_click_on_the_quit_row_does_nothing) {
    start(threeDisplays);
    openMenu();
    desktop.click(quitRow);
    desktop.click(switchOf(1));
    ASSERT_TRUE(eventually([&] { return !isShownOn(1); }));
    EXPECT_TRUE(application->isRunning());
    EXPECT_TRUE(isMenuOpen());
}

TEST_F(MenuBarApplication, a_click_beside_the_menu_closes_it) {
    start(threeDisplays);
    openMenu();
    desktop.click(besideTheMenu);
    EXPECT_TRUE(eventually([&] { return !isMenuOpen(); }));
    EXPECT_EQ(quit(), cleanRun());
}

TEST_F(MenuBarApplication, quitting_restores_a_display_under_blackout) {
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

TEST_F(MenuBarApplication, unknown_options_start_it) {
    for (const char* option : {"--help", "-list", "--List", "--list=1"}) {
        start(threeDisplays, {option});
        EXPECT_EQ(quit(), cleanRun()) << option;
    }
}

class MenuBarApplicationWithout : public MenuBarApplication,
                                  public testing::WithParamInterface<const char*> {};

// Nobody can be told then, but the application works.
TEST_P(MenuBarApplicationWithout, a_usable_standard_error_works_and_logs_to_its_file) {
    run(threeDisplays, "/bin/bash",
        {"-c", std::string("exec '") + VEILPANE_EXECUTABLE + "' " + GetParam()});
    const std::string log = mac->environment().at("TMPDIR") + "/Veilpane.log";
    ASSERT_TRUE(eventually([&] { return contentOf(log).contains("buttonWidth"); }));
    openMenu();
    desktop.click(switchOf(1));
    EXPECT_TRUE(eventually([&] { return display(2).at("enabled") == false; }));
    desktop.pressCommand('q');
    EXPECT_EQ(finish().status, 0);
    EXPECT_EQ(withoutTimes(contentOf(log)), loggedLaunch);
}

INSTANTIATE_TEST_SUITE_P(Closed, MenuBarApplicationWithout, testing::Values("2>&-"));
INSTANTIATE_TEST_SUITE_P(Full, MenuBarApplicationWithout, testing::Values("2>/dev/full"));
INSTANTIATE_TEST_SUITE_P(AllClosed, MenuBarApplicationWithout, testing::Values("<&- >&- 2>&-"));
INSTANTIATE_TEST_SUITE_P(WithoutReader, MenuBarApplicationWithout,
                         testing::Values("2> >(exec true)"));

} // namespace
