#include "EndToEnd/ProgramRun.h"
#include "Support/Files.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::string twoDisplays =
    R"({ "displays": [ { "id": 4, "main": true, "profilerName": "显示器" },
    { "id": 2, "profilerName": "Studio", "ddc": { "brightness": 40 } } ] })";

TEST(Macsim, show_tells_every_display_in_order_of_id) {
    const MacOnDisk mac(twoDisplays);
    EXPECT_EQ(
        mac.macsim({"show", "--json"}),
        (ProgramRun{0,
                    R"({"displays":[{"id":2,"name":"Studio","connected":true,"enabled":true,)"
                    R"("online":true,"active":true,"main":false,"mirrors":0,"gamma":"normal",)"
                    R"("power":"on","brightness":40,"lit":true},)"
                    R"({"id":4,"name":"显示器","connected":true,"enabled":true,"online":true,)"
                    R"("active":true,"main":true,"mirrors":0,"gamma":"normal","power":"on",)"
                    R"("brightness":null,"lit":true}]})"
                    "\n",
                    ""}));
    EXPECT_EQ(mac.macsim({"show"}).output,
              "ID  NAME    ARRANGEMENT  POWER  GAMMA   BRIGHTNESS  PICTURE\n"
              "2   Studio  active       on     normal  40 %        lit\n"
              "4   显示器  main         on     normal  -           lit\n");
}

TEST(Macsim, unplug_plug_logout_and_reboot_act_on_the_mac) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.macsim({"unplug", "2"}), (ProgramRun{0, "", ""}));
    EXPECT_NE(mac.macsim({"show"}).output.find("unplugged"), std::string::npos);
    ASSERT_EQ(mac.macsim({"plug", "2"}).status, 0);
    EXPECT_EQ(mac.macsim({"show"}).output.find("unplugged"), std::string::npos);
    EXPECT_EQ(mac.macsim({"logout"}).status, 0);
    EXPECT_EQ(mac.macsim({"reboot"}).status, 0);
}

TEST(Macsim, reset_puts_arrangement_defaults_and_log_back) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.veilpane({"--power", "off", "2"}).status, 0);
    ASSERT_EQ(mac.macsim({"reset"}), (ProgramRun{0, "", ""}));
    EXPECT_NE(mac.macsim({"show", "--json"})
                  .output.find(R"("id":2,"name":"Studio","connected":true,"enabled":true)"),
              std::string::npos);
    EXPECT_EQ(mac.macsim({"defaults", "--json"}).output, "{}\n");
    EXPECT_EQ(mac.macsim({"calls", "--json"}).output, "");
}

TEST(Macsim, new_ids_are_told_and_hold_for_the_programs_that_follow) {
    const MacOnDisk mac(twoDisplays);
    EXPECT_EQ(mac.macsim({"plug", "2", "--as", "9"}), (ProgramRun{0, "2 is now 9\n", ""}));
    EXPECT_EQ(mac.veilpane({"--list"}).output, "4\t显示器\tmain,no-ddc\n9\tStudio\tddc\n");
    EXPECT_EQ(mac.macsim({"reboot", "--renumber"}),
              (ProgramRun{0, "4 is now 9\n9 is now 4\n", ""}));
    EXPECT_EQ(mac.macsim({"reset"}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(mac.macsim({"unplug", "9"}), (ProgramRun{2, "", "macsim: no display 9\n"}));
}

TEST(Macsim, another_program_arranges_and_sleep_and_lid_darken) {
    const MacOnDisk mac(R"({ "displays": [ { "id": 1, "builtin": true }, { "id": 2 } ] })");
    const auto arrangement = [&mac] {
        std::string texts;
        std::istringstream lines(mac.macsim({"show"}).output);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string id, text;
            words >> id >> text;
            texts += id == "ID" ? "" : text + " ";
        }
        return texts;
    };
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
        {{"main", "2"}, "active main "},
        {{"mirror", "1", "2"}, "mirrors main "},
        {{"mirror", "1", "0"}, "active main "},
        {{"lid", "close"}, "asleep main "},
        {{"lid", "open"}, "active main "},
        {{"sleep"}, "asleep asleep "},
        {{"wake"}, "active main "},
    };
    for (const auto& [verb, expected] : rows) {
        EXPECT_EQ(mac.macsim(verb), (ProgramRun{0, "", ""}));
        EXPECT_EQ(arrangement(), expected) << verb[0];
    }
}

TEST(Macsim, a_scenes_events_change_the_mac_in_the_middle_of_a_command) {
    const MacOnDisk mac(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 }, { "id": 3 } ],
        "events": [ { "before": "CGCompleteDisplayConfiguration", "do": "unplug 3" } ] })");
    ASSERT_EQ(mac.veilpane({"--power", "off", "2"}).status, 0);
    const auto shown = nlohmann::json::parse(mac.macsim({"show", "--json"}).output)["displays"];
    EXPECT_FALSE(shown[1]["enabled"]);
    EXPECT_FALSE(shown[2]["connected"]);
}

TEST(Macsim, calls_are_one_object_a_line_with_the_bytes_of_ddc_messages) {
    const MacOnDisk mac(
        R"({ "skylight": false, "displays": [ { "id": 1, "main": true }, { "id": 2, "ddc": {} } ] })");
    ASSERT_EQ(mac.veilpane({"--power", "off", "2"}).status, 0);
    std::istringstream lines(mac.macsim({"calls", "--json"}).output);
    int messages = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto call = nlohmann::json::parse(line);
        EXPECT_TRUE(call.contains("pid") && call.contains("call") && call.contains("args") &&
                    call.contains("result"))
            << line;
        if (call["call"] == "IOI2CSendRequest") {
            ++messages;
            EXPECT_EQ(call["address"], 110);
            EXPECT_EQ(call["bytes"], "5184030C0005B1");
        }
    }
    EXPECT_EQ(messages, 1);
    ASSERT_EQ(mac.macsim({"calls", "--clear"}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(mac.macsim({"calls", "--json"}).output, "");
}

TEST(Macsim, a_wrong_command_line_is_one_line_and_status_2) {
    const MacOnDisk mac(twoDisplays);
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
        {{}, "macsim: no verb; 'macsim --help' lists them\n"},
        {{"explode"}, "macsim: unknown verb 'explode'; 'macsim --help' lists them\n"},
        {{"show", "--xml"}, "macsim: show: unknown option '--xml'\n"},
        {{"unplug"}, "macsim: unplug: takes one display ID\n"},
        {{"unplug", "2", "3"}, "macsim: unplug: takes one display ID\n"},
        {{"unplug", "two"}, "macsim: unplug: 'two' is no display ID\n"},
        {{"unplug", "9"}, "macsim: no display 9\n"},
        {{"plug", "4294967296"}, "macsim: plug: '4294967296' is no display ID\n"},
        {{"reset", "now"}, "macsim: reset: unknown option 'now'\n"},
        {{"unplug", "2 "}, "macsim: unplug: '2 ' is no display ID\n"},
        {{"unplug", "+2"}, "macsim: unplug: '+2' is no display ID\n"},
        {{"unplug", "-2"}, "macsim: unplug: '-2' is no display ID\n"},
        {{"unplug", "0x2"}, "macsim: unplug: '0x2' is no display ID\n"},
        {{"plug", "2.0"}, "macsim: plug: '2.0' is no display ID\n"},
        {{"plug", ""}, "macsim: plug: '' is no display ID\n"},
        {{"plug", std::string(5000, '7')},
         "macsim: plug: '" + std::string(29, '7') + "…" + std::string(29, '7') +
             "' is no display ID\n"},
        {{""}, "macsim: unknown verb ''; 'macsim --help' lists them\n"},
        {{"a\nb\x1b[31m"}, "macsim: unknown verb 'a\\nb\\u001b[31m'; 'macsim --help' lists them\n"},
        {{"show", ""}, "macsim: show: unknown option ''\n"},
        {{"show", "--json", "--json"}, "macsim: show: one too many: '--json'\n"},
        {{"calls", "--json", "--clear"}, "macsim: calls: one too many: '--clear'\n"},
        {{"defaults", "--json", "x"}, "macsim: defaults: one too many: 'x'\n"},
        {{"--help", "me"}, "macsim: --help: unknown option 'me'\n"},
        {{"desk", ""}, "macsim: desk: '' is no file name\n"},
        {{"desk", "a.png", "b.png"}, "macsim: desk: takes one file name\n"},
        {{"plug", "2", "--as", "4"}, "macsim: display 4 is plugged in\n"},
        {{"mirror", "2"}, "macsim: mirror: takes a display ID and its master's, or 0\n"},
        {{"lid", "close"}, "macsim: no built-in display\n"},
    };
    for (const auto& [arguments, error] : rows) {
        EXPECT_EQ(mac.macsim(arguments), (ProgramRun{2, "", error}));
    }
}

TEST(BadInput, a_bad_scene_is_one_line_that_names_file_and_key) {
    const MacOnDisk mac(R"({ "displays": [ { "id": 1, "colour": 3 } ] })");
    const ProgramRun expected{
        2, "", "simulated Mac: " + mac.sceneFile() + ": displays[0].colour: unknown key\n"};
    EXPECT_EQ(mac.macsim({"show"}), expected);
    EXPECT_EQ(mac.veilpane({"--list"}), expected);
}

TEST(BadInput, an_unreadable_scene_is_one_line) {
    const MacOnDisk mac(twoDisplays);
    std::filesystem::remove(mac.sceneFile());
    const std::string file = "simulated Mac: " + mac.sceneFile();
    EXPECT_EQ(mac.macsim({"show"}), (ProgramRun{2, "", file + ": No such file or directory\n"}));
    std::filesystem::create_directory(mac.sceneFile());
    EXPECT_EQ(mac.macsim({"show"}), (ProgramRun{2, "", file + ": Is a directory\n"}));
}

TEST(BadInput, a_bad_scene_leaves_the_old_state_intact) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.veilpane({"--power", "off", "2"}).status, 0);
    const std::string before = contentOf(mac.stateDirectory() + "/state.json");
    mac.changeScene("{ broken");
    EXPECT_EQ(mac.macsim({"reset"}).status, 2);
    EXPECT_EQ(mac.veilpane({"--power", "on", "2"}).status, 2);
    EXPECT_EQ(contentOf(mac.stateDirectory() + "/state.json"), before);
}

TEST(BadInput, a_state_written_by_a_newer_version_is_left_alone) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.macsim({"show"}).status, 0);
    const std::string file = mac.stateDirectory() + "/state.json";
    auto state = nlohmann::json::parse(contentOf(file));
    state["version"] = 99;
    std::ofstream(file) << state;
    const std::string before = contentOf(file);
    EXPECT_EQ(
        mac.veilpane({"--list"}),
        (ProgramRun{2, "",
                    "simulated Mac: " + file + ": version: written by a newer simulated Mac\n"}));
    EXPECT_EQ(contentOf(file), before);
}

TEST(BadInput, a_damaged_state_is_one_line) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.macsim({"show"}).status, 0);
    const std::string file = mac.stateDirectory() + "/state.json";
    std::ofstream(file) << "{ \"version\"";
    EXPECT_EQ(mac.macsim({"show"}),
              (ProgramRun{2, "", "simulated Mac: " + file + ": not valid JSON at byte 12\n"}));
    std::ofstream(file) << R"({ "version": 1, "scene": "{}", "displays": { "2": {} } })";
    EXPECT_EQ(
        mac.macsim({"show"}),
        (ProgramRun{2, "", "simulated Mac: " + file + ": displays.2: connected is missing\n"}));
}

TEST(BadInput, a_damaged_list_of_processes_is_one_line) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.macsim({"show"}).status, 0);
    const std::string file = mac.stateDirectory() + "/processes.json";
    const std::pair<const char*, const char*> rows[] = {
        {"[ 1 ]", "must be an object"},
        {"{}", "processes is missing"},
        {R"({ "processes": 7 })", "processes: must be an array"},
        {R"({ "processes": [ { "pid": "all" } ] })", "processes[0].pid: must be a whole number"},
    };
    for (const auto& [content, problem] : rows) {
        std::ofstream(file) << content;
        const ProgramRun expected{2, "", "simulated Mac: " + file + ": " + problem + "\n"};
        EXPECT_EQ(mac.veilpane({"--list"}), expected) << content;
        EXPECT_EQ(mac.macsim({"logout"}), expected) << content;
    }
}

TEST(BadInput, a_damaged_change_of_the_slow_lists_is_one_line) {
    const MacOnDisk mac(R"({ "displays": [ { "id": 1 }, { "id": 2 } ], "settleCalls": 3 })");
    ASSERT_EQ(mac.macsim({"unplug", "2"}).status, 0);
    const std::string file = mac.stateDirectory() + "/state.json";
    auto state = nlohmann::json::parse(contentOf(file));
    ASSERT_EQ(state["settling"][0]["calls"], 3);
    state["settling"][0]["calls"] = "three";
    std::ofstream(file) << state;
    EXPECT_EQ(
        mac.macsim({"show"}),
        (ProgramRun{2, "",
                    "simulated Mac: " + file + ": settling[0].calls: must be a whole number\n"}));
}

TEST(BadInput, a_state_directory_that_cannot_be_made_is_one_line) {
    const MacOnDisk mac(twoDisplays);
    auto environment = mac.environment();
    environment["SIMULATED_MAC_STATE"] = mac.sceneFile() + "/state"; // below a file
    const ProgramRun run = runProgram(MACSIM_EXECUTABLE, {"show"}, environment);
    EXPECT_EQ(run, (ProgramRun{2, "",
                               "simulated Mac: " + environment["SIMULATED_MAC_STATE"] +
                                   ": Not a directory\n"}));
}

// A limit on file sizes stands for the full disk: writing fails in the middle in the same way.
TEST(BadInput, a_disk_that_takes_no_more_leaves_the_old_state_intact) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.macsim({"show"}).status, 0);
    const std::string before = contentOf(mac.stateDirectory() + "/state.json");
    const ProgramRun run = runProgram("/bin/bash",
                                      {"-c", std::string("(trap '' XFSZ; ulimit -f 0; exec ") +
                                                 MACSIM_EXECUTABLE + " unplug 2 2>&1) | cat"},
                                      mac.environment());
    EXPECT_EQ(run.output,
              "simulated Mac: " + mac.stateDirectory() + "/state.json: File too large\n");
    EXPECT_EQ(contentOf(mac.stateDirectory() + "/state.json"), before);
    EXPECT_FALSE(std::filesystem::exists(mac.stateDirectory() + "/state.json.new"));
}

TEST(TwoProcesses, at_once_lose_none_of_their_changes) {
    const MacOnDisk mac(twoDisplays);
    ASSERT_EQ(mac.macsim({"show"}).status, 0);
    constexpr int rounds = 20;
    const auto toggle = [&mac](const char* id) {
        for (int i = 0; i < rounds; ++i) {
            if (mac.macsim({"unplug", id}).status != 0 || mac.macsim({"plug", id}).status != 0) {
                return 1;
            }
        }
        return mac.macsim({"unplug", id}).status;
    };
    const pid_t child = fork();
    if (child == 0) {
        _exit(toggle("2"));
    }
    EXPECT_EQ(toggle("4"), 0);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const auto shown = nlohmann::json::parse(mac.macsim({"show", "--json"}).output);
    EXPECT_FALSE(shown["displays"][0]["connected"]);
    EXPECT_FALSE(shown["displays"][1]["connected"]);
}

} // namespace
