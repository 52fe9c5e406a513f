#include "EndToEnd/ProgramRun.h"
#include "Support/Scenes.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/stat.h>
#include <utility>

namespace {

const std::string reconnected = "method=断开显示器（SLS） success=true\n已重新连接显示器（SLS）\n";
const std::string disconnected =
    "method=断开显示器（SLS） success=true\n已断开显示器（SLS，系统设置中将消失）\n";
const std::string mainRefused = "method=断开显示器（SLS） success=false\n主屏禁止关闭，已阻止\n";

std::vector<std::string> namesOfCalls(const MacOnDisk& mac) {
    std::vector<std::string> names;
    std::istringstream lines(mac.macsim({"calls", "--json"}).output);
    for (std::string line; std::getline(lines, line);) {
        names.push_back(nlohmann::json::parse(line).at("call"));
    }
    return names;
}

TEST(CommandLine, list_prints_one_line_per_display) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpane({"--list"}), quiet(0, "1\tColor LCD\tmain,builtin,no-ddc\n"
                                                 "3\tSide\tno-ddc\n"
                                                 "2\tStudio\tddc\n"));
}

TEST(CommandLine, list_prints_nothing_without_displays) {
    const MacOnDisk mac(scene({}));
    EXPECT_EQ(mac.veilpane({"--list"}), quiet(0, ""));
}

TEST(CommandLine, two_processes_in_a_row_see_each_others_effects) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpane({"--power", "off", "2"}), quiet(0, disconnected));
    EXPECT_EQ(mac.veilpane({"--list"}), quiet(0, "1\tColor LCD\tmain,builtin,no-ddc\n"
                                                 "3\tSide\tno-ddc\n"
                                                 "2\tStudio\tddc,disconnected,sls-off\n"));
    EXPECT_EQ(mac.macsim({"defaults", "--json"}).output,
              "{\"Veilpane.disconnectedDisplayIDs\":[2]}\n");
    EXPECT_EQ(mac.veilpane({"--power", "off", "2"}),
              quiet(0, "method=断开显示器（SLS） success=true\n显示器已断开\n"));
    EXPECT_EQ(mac.veilpane({"--power", "on", "2"}),
              quiet(0, "method=断开显示器（SLS） success=true\n已重新连接显示器\n"));
    EXPECT_EQ(mac.macsim({"defaults", "--json"}).output,
              "{\"Veilpane.disconnectedDisplayIDs\":[]}\n");
    EXPECT_TRUE(mac.display(2)["lit"]);
}

TEST(CommandLine, a_disconnect_survives_a_reboot_and_can_be_undone_after_it) {
    const MacOnDisk mac;
    ASSERT_EQ(mac.veilpane({"--power", "off", "2"}).status, 0);
    ASSERT_EQ(mac.macsim({"reboot"}).status, 0);
    EXPECT_FALSE(mac.display(2)["online"]);
    EXPECT_EQ(mac.veilpane({"--power", "on", "2"}).output,
              "method=断开显示器（SLS） success=true\n已重新连接显示器\n");
}

TEST(CommandLine, a_remembered_display_that_was_plugged_in_anew_is_an_ordinary_one) {
    const MacOnDisk mac;
    ASSERT_EQ(mac.veilpane({"--power", "off", "2"}).status, 0);
    ASSERT_EQ(mac.macsim({"unplug", "2"}).status, 0);
    EXPECT_EQ(mac.veilpane({"--list"}).output,
              "1\tColor LCD\tmain,builtin,no-ddc\n3\tSide\tno-ddc\n");
    ASSERT_EQ(mac.macsim({"plug", "2"}).status, 0);
    EXPECT_EQ(mac.veilpane({"--list"}).output,
              "1\tColor LCD\tmain,builtin,no-ddc\n3\tSide\tno-ddc\n2\tStudio\tddc\n");
    EXPECT_EQ(mac.veilpane({"--power", "off", "2"}), quiet(0, disconnected));
}

TEST(CommandLine, these_state_words_mean_on) {
    for (const char* const word : {"on", "ON", "oN", "1", "true", "True", "TRUE"}) {
        const MacOnDisk mac;
        EXPECT_EQ(mac.veilpane({"--power", word, "2"}), quiet(0, reconnected)) << word;
    }
}

TEST(CommandLine, every_other_state_word_means_off) {
    for (const char* const word : {"off", "0", "false", "yes", "onn", "", " on", "ｏｎ", "01",
                                   "--list", "--selftest", "--power"}) {
        const MacOnDisk mac;
        EXPECT_EQ(mac.veilpane({"--power", word, "2"}), quiet(0, disconnected)) << word;
    }
}

TEST(CommandLine, power_without_a_state_word_is_a_usage_error) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpane({"--power"}), quiet(2, "usage: --power on|off [displayID]\n"));
    EXPECT_EQ(mac.veilpane({"--list", "--power"}), quiet(2, "usage: --power on|off [displayID]\n"));
}

TEST(CommandLine, power_wins_over_list_and_selftest_and_ignores_what_follows) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpane({"--list", "--selftest", "--power", "on", "2", "3", "--list"}),
              quiet(0, reconnected));
}

TEST(CommandLine, an_operand_that_is_no_display_id_means_the_first_listed_display) {
    for (const char* const operand :
         {"0x2", "4294967296", " 2", "2 ", "-1", "two", "", "--list", "2.0", "+"}) {
        const MacOnDisk mac;
        EXPECT_EQ(mac.veilpane({"--power", "off", operand}), quiet(1, mainRefused)) << operand;
    }
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpane({"--power", "off"}), quiet(1, mainRefused));
    EXPECT_EQ(mac.veilpane({"--power", "--list"}), quiet(1, mainRefused));
}

TEST(CommandLine, signs_and_leading_zeros_are_part_of_a_display_id) {
    for (const char* const operand : {"+2", "002", "+0002"}) {
        const MacOnDisk mac;
        EXPECT_EQ(mac.veilpane({"--power", "off", operand}), quiet(0, disconnected)) << operand;
    }
}

TEST(CommandLine, a_given_id_is_used_without_asking_whether_it_exists) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpane({"--power", "on", "4294967295"}),
              quiet(0, "method=BlackOut（镜像+Gamma） success=true\n"
                       "SLS 重连失败（SLSConfigureDisplayEnabled 失败 CGError 1001），"
                       "已恢复软件显示\n"));
}

TEST(CommandLine, with_an_id_the_system_profiler_does_not_run) {
    const MacOnDisk mac;
    ASSERT_EQ(mac.veilpane({"--power", "off", "2"}).status, 0);
    const auto names = namesOfCalls(mac);
    EXPECT_EQ(std::ranges::count(names, "posix_spawn"), 0);
    EXPECT_EQ(std::ranges::count(names, "SLSConfigureDisplayEnabled"), 1);
}

TEST(CommandLine, without_displays_there_is_none_to_switch) {
    const MacOnDisk mac(scene({}));
    EXPECT_EQ(mac.veilpane({"--power", "off"}), quiet(1, "no display\n"));
    EXPECT_EQ(mac.veilpane({"--power", "on", "x"}), quiet(1, "no display\n"));
}

TEST(CommandLine, the_main_display_is_never_switched_off) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpane({"--power", "off", "1"}), quiet(1, mainRefused));
    EXPECT_TRUE(mac.display(1)["lit"]);
}

TEST(CommandLine, list_wins_over_selftest) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--list", "--selftest"}, {"--selftest", "x", "--list"}}) {
        const MacOnDisk mac;
        EXPECT_EQ(mac.veilpane(arguments), quiet(0, "1\tColor LCD\tmain,builtin,no-ddc\n"
                                                    "3\tSide\tno-ddc\n"
                                                    "2\tStudio\tddc\n"));
        const auto names = namesOfCalls(mac);
        EXPECT_EQ(std::ranges::count(names, "SLSConfigureDisplayEnabled"), 0);
    }
}

TEST(CommandLine, a_ddc_standby_lasts_and_is_ended_through_skylight_only) {
    const MacOnDisk mac(scene({panel1, ddcStudio2}, {noSkyLight}));
    EXPECT_EQ(mac.veilpane({"--power", "off", "2"}),
              quiet(0, "method=DDC 硬件电源 success=true\nDDC 已发送 Power Off\n"));
    ASSERT_EQ(mac.macsim({"reboot"}).status, 0);
    EXPECT_EQ(mac.veilpane({"--power", "on", "2"}),
              quiet(0, "method=BlackOut（镜像+Gamma） success=true\n已恢复显示\n"));
    EXPECT_EQ(mac.display(2)["power"], "standby");
    mac.changeScene(scene({panel1, ddcStudio2}));
    EXPECT_EQ(mac.veilpane({"--power", "on", "2"}), quiet(0, reconnected));
    EXPECT_EQ(mac.display(2)["power"], "on");
}

TEST(CommandLine, a_blackout_from_the_command_line_ends_with_the_process_but_stays_mirrored) {
    const MacOnDisk mac(scene({panel1, studio2}, {noSkyLight}));
    EXPECT_EQ(mac.veilpane({"--power", "off", "2"}),
              quiet(0, "method=BlackOut（镜像+Gamma） success=true\n"
                       "BlackOut：镜像 + Gamma 归零（软件兜底）\n"));
    EXPECT_EQ(mac.display(2)["mirrors"], 1);
    EXPECT_EQ(mac.display(2)["gamma"], "normal");
    EXPECT_EQ(mac.veilpane({"--power", "on", "2"}),
              quiet(0, "method=BlackOut（镜像+Gamma） success=true\n已恢复显示\n"));
    EXPECT_EQ(mac.display(2)["mirrors"], 0);
}

TEST(CommandLine, a_damaged_stored_set_is_ignored_and_written_anew) {
    const MacOnDisk mac(scene({panel1, disabledStudio2}, {remembered(R"([2, "x"])")}));
    EXPECT_EQ(mac.veilpane({"--list"}), quiet(0, "1\tPanel\tmain,builtin,no-ddc\n"));
    EXPECT_EQ(mac.veilpane({"--power", "on", "2"}), quiet(0, reconnected));
    EXPECT_EQ(mac.macsim({"defaults", "--json"}).output,
              "{\"Veilpane.disconnectedDisplayIDs\":[]}\n");
}

struct ClosedStreams {
    const char* name;
    const char* redirection;
    bool printsAll; ///< or nothing

    friend void PrintTo(const ClosedStreams& row, std::ostream* stream) { *stream << row.name; }
};

class CommandLineWithout : public testing::TestWithParam<ClosedStreams> {};

TEST_P(CommandLineWithout, some_standard_streams_does_and_prints_the_same) {
    for (const char* const command : {"--list", "--power off 2", "--selftest"}) {
        const MacOnDisk usual;
        const MacOnDisk mac;
        const ProgramRun expected = usual.veilpaneUnderShell(command);
        ASSERT_EQ(expected.status, 0) << command;
        EXPECT_EQ(mac.veilpaneUnderShell(std::string(command) + " " + GetParam().redirection),
                  quiet(0, GetParam().printsAll ? expected.output : ""))
            << command;
        EXPECT_EQ(mac.macsim({"show"}), usual.macsim({"show"})) << command;
        EXPECT_EQ(mac.macsim({"defaults"}), usual.macsim({"defaults"})) << command;
    }
}

INSTANTIATE_TEST_SUITE_P(StandardStreams, CommandLineWithout,
                         testing::Values(ClosedStreams{"input", "<&-", true},
                                         ClosedStreams{"output", ">&-", false},
                                         ClosedStreams{"error", "2>&-", true},
                                         ClosedStreams{"input_and_error", "<&- 2>&-", true},
                                         ClosedStreams{"output_and_error", ">&- 2>&-", false},
                                         ClosedStreams{"all", "<&- >&- 2>&-", false}),
                         [](const auto& info) { return info.param.name; });

/// So many displays, whose names together are more than a pipe holds.
std::string displaysWithLongNames() {
    nlohmann::json displays = nlohmann::json::array();
    for (int id = 1; id <= 9; ++id) {
        displays.push_back(
            {{"id", id}, {"main", id == 1}, {"profilerName", std::string(10'000, 'x')}});
    }
    return nlohmann::json{{"displays", displays}}.dump();
}

TEST(CommandLine, a_reader_that_takes_only_the_first_line_changes_nothing_else) {
    // Whoever runs the tests may have it ignored, which children inherit.
    std::signal(SIGPIPE, SIG_DFL);
    for (const char* const command : {"--list", "--selftest", "--power off 2"}) {
        const MacOnDisk mac(displaysWithLongNames());
        const MacOnDisk untouched(displaysWithLongNames());
        const std::string pipeline =
            veilpaneInShell() + command + " | head -n 1 >/dev/null; echo ${PIPESTATUS[0]}";
        EXPECT_EQ(runProgram("/bin/bash", {"-c", pipeline}, mac.environment()), quiet(0, "0\n"))
            << command;
        if (std::string(command) == "--power off 2") {
            EXPECT_FALSE(mac.display(2)["online"]);
        } else {
            EXPECT_EQ(mac.macsim({"show"}), untouched.macsim({"show"})) << command;
        }
    }
}

// The reader is there when the output is opened, and gone when something is written.
TEST(CommandLine, a_reader_that_has_gone_does_not_keep_a_display_from_being_switched) {
    std::signal(SIGPIPE, SIG_DFL);
    const MacOnDisk mac;
    ASSERT_EQ(mac.macsim({"show"}).status, 0);
    const std::string fifo = mac.stateDirectory() + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const auto& [command, isOnline] :
         {std::pair("--power off 2", false), {"--power on 2", true}}) {
        const std::string redirection = " 3<>'" + fifo + "' >'" + fifo + "' 3<&-";
        EXPECT_EQ(mac.veilpaneUnderShell(command + redirection), quiet(0, "")) << command;
        EXPECT_EQ(mac.display(2)["online"], isOnline) << command;
    }
}

class NumberOfDisplays : public testing::TestWithParam<int> {};

// A Mac is asked for 32 at most.
TEST_P(NumberOfDisplays, is_listed_up_to_32) {
    const MacOnDisk mac(scene({numberedDisplays(GetParam())}));
    const int listed = std::min(GetParam(), 32);
    const ProgramRun run = mac.veilpane({"--list"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(std::ranges::count(run.output, '\n'), listed);
    for (int id = 1; id <= listed; ++id) {
        const std::string line = "\n" + std::to_string(id) + "\t";
        EXPECT_NE(("\n" + run.output).find(line), std::string::npos) << id;
    }
    EXPECT_NE(mac.veilpane({"--selftest"}).output.find("Displays: " + std::to_string(listed)),
              std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(CommandLine, NumberOfDisplays, testing::Values(16, 17, 32, 33));

TEST(CommandLine, id_0_is_taken_for_no_other_display) {
    for (const char* const state : {"off", "on"}) {
        const MacOnDisk mac(scene({main1, plain2}));
        const ProgramRun before = mac.macsim({"show"});
        (void)mac.veilpane({"--power", state, "0"});
        EXPECT_EQ(mac.macsim({"show"}), before) << state;
    }
}

struct NameRow {
    const char* name;
    std::string displayName;

    friend void PrintTo(const NameRow& row, std::ostream* stream) { *stream << row.name; }
};

class NameOnTheCommandLine : public testing::TestWithParam<NameRow> {};

// A list of one line per display needs names without line feeds, and fields names without tabs.
TEST_P(NameOnTheCommandLine, is_printed_as_it_stands) {
    const std::string& name = GetParam().displayName;
    const nlohmann::json displays = {{{"id", 1}, {"main", true}, {"profilerName", "Panel"}},
                                     {{"id", 2}, {"profilerName", name}}};
    const MacOnDisk mac(nlohmann::json{{"displays", displays}}.dump());
    EXPECT_EQ(mac.veilpane({"--list"}),
              quiet(0, "1\tPanel\tmain,no-ddc\n2\t" + name + "\tno-ddc\n"));
    const ProgramRun test = mac.veilpane({"--selftest"});
    EXPECT_EQ(test.status, 0);
    EXPECT_TRUE(test.output.contains("- id=2 name=" + name + " main=false"));
    EXPECT_TRUE(test.output.contains("on id=2 " + name + " ...\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Each, NameOnTheCommandLine,
    testing::Values(NameRow{"of_10000_characters", std::string(10'000, 'x')},
                    NameRow{"with_control_characters", "A\x1B[31mB\x07\x7F\r"},
                    NameRow{"from_right_to_left", "שולחן \u202Eabc\u202C"},
                    NameRow{"with_joined_emoji", "👨‍👩‍👧‍👦 Desk"},
                    NameRow{"with_a_zero_character", std::string("A\0B", 3)},
                    NameRow{"with_a_tab", "A\tno-ddc"}, NameRow{"with_a_line_feed", "A\n3\tB\tddc"},
                    NameRow{"of_a_line_feed", "\n"},
                    NameRow{"with_other_line_ends", "A\u2028B\u0085C\v\f"}),
    [](const auto& info) { return info.param.name; });

TEST(CommandLine, the_largest_id_is_listed_and_switched_like_any_other) {
    const MacOnDisk mac(
        scene({panel1, R"({ "id": 4294967295, "screenName": "Last" })"}, {remembered("[0]")}));
    EXPECT_EQ(mac.veilpane({"--power", "off", "4294967295"}), quiet(0, disconnected));
    EXPECT_EQ(mac.veilpane({"--list"}),
              quiet(0, "1\tPanel\tmain,builtin,no-ddc\n"
                       "4294967295\t显示器 4294967295\tno-ddc,disconnected,sls-off\n"));
    EXPECT_EQ(mac.veilpane({"--power", "on", "4294967295"}).status, 0);
    EXPECT_TRUE(mac.display(4294967295)["lit"]);
    EXPECT_EQ(mac.veilpane({"--list"}).output,
              "1\tPanel\tmain,builtin,no-ddc\n4294967295\tLast\tno-ddc\n");
}

} // namespace
