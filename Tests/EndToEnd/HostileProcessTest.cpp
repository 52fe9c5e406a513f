// What surrounds a process on Linux can be hostile as well: bytes that are no UTF-8, missing
// variables, closed streams, full disks and kills.

#include "EndToEnd/ProgramRun.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <vector>

namespace {

/// The text is a shell's, in which $MACSIM and the command veilpane are the programs.
ProgramRun shell(const MacOnDisk& mac, const std::string& text) {
    auto environment = mac.environment();
    environment["MACSIM"] = MACSIM_EXECUTABLE;
    const std::string function = "veilpane() { " + veilpaneInShell() + "\"$@\"; }; ";
    return runProgram("/bin/bash", {"-c", function + text}, environment);
}

TEST(HostileProcess, arguments_and_environment_that_are_no_utf8_are_one_line) {
    const MacOnDisk mac;
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"("$MACSIM" $'\xff')", R"(argument 1: '\xFF')"},
        {R"("$MACSIM" unplug $'2\xff')", R"(argument 2: '2\xFF')"},
        {R"("$MACSIM" desk $'a\n\xed\xa0\x80.png')", R"(argument 2: 'a\n\xED\xA0\x80.png')"},
        {R"(veilpane --power off $'\xc0\xaf')", R"(argument 3: '\xC0\xAF')"},
        {R"(veilpane --list -a $'\xff')", R"(argument 3: '\xFF')"},
        {R"(exec -a $'\xff' "$MACSIM" show)", R"(argument 0: '\xFF')"},
        {R"(FOO=$'a\xff' "$MACSIM" show)", R"(environment: 'FOO=a\xFF')"},
        {R"(FOO=$'a\xff' veilpane --list)", R"(environment: 'FOO=a\xFF')"},
        {R"(SIMULATED_MAC_SCENE=$'/\xff' veilpane --list)",
         R"(environment: 'SIMULATED_MAC_SCENE=/\xFF')"},
        {R"(SIMULATED_MAC_STATE=$'/\xff' "$MACSIM" show)",
         R"(environment: 'SIMULATED_MAC_STATE=/\xFF')"},
    };
    for (const auto& [command, place] : rows) {
        EXPECT_EQ(shell(mac, command),
                  (ProgramRun{2, "", "simulated Mac: " + place + " is not valid UTF-8\n"}));
        EXPECT_FALSE(std::filesystem::exists(mac.stateDirectory()));
    }
}

TEST(HostileProcess, without_a_home_there_is_no_place_for_the_state) {
    const MacOnDisk mac;
    const std::string noState = "cd /; unset SIMULATED_MAC_STATE; ";
    const std::vector<std::string> surroundings = {
        "unset HOME XDG_STATE_HOME; ",
        "export HOME= XDG_STATE_HOME=; ",
        "export HOME=here XDG_STATE_HOME=there; ",
    };
    for (const std::string& surrounding : surroundings) {
        for (const char* const command : {"\"$MACSIM\" show", "veilpane --list"}) {
            EXPECT_EQ(shell(mac, noState + surrounding + command),
                      (ProgramRun{2, "",
                                  "simulated Mac: no directory for the state: neither "
                                  "SIMULATED_MAC_STATE is set, nor XDG_STATE_HOME or HOME to an "
                                  "absolute path\n"}))
                << surrounding;
        }
    }
}

TEST(HostileProcess, either_home_is_a_place_for_the_state) {
    const MacOnDisk mac;
    const std::string home = mac.stateDirectory() + "-home";
    EXPECT_EQ(shell(mac, "unset SIMULATED_MAC_STATE; HOME=" + home +
                             " XDG_STATE_HOME=relative \"$MACSIM\" show")
                  .status,
              0);
    EXPECT_TRUE(std::filesystem::exists(home + "/.local/state/veilpane/simulated-mac/state.json"));
    EXPECT_EQ(shell(mac, "unset SIMULATED_MAC_STATE HOME; XDG_STATE_HOME=" + home +
                             "/state \"$MACSIM\" show")
                  .status,
              0);
    EXPECT_TRUE(std::filesystem::exists(home + "/state/veilpane/simulated-mac/state.json"));
}

TEST(HostileProcess, a_standard_output_that_takes_nothing_is_one_line_and_changes_no_file) {
    const MacOnDisk mac;
    ASSERT_EQ(mac.macsim({"show"}).status, 0);
    const std::string before = contentOf(mac.stateDirectory() + "/state.json");
    const std::string verbs[] = {"show", "show --json", "defaults", "--help"};
    for (const std::string& verb : verbs) {
        for (const char* const output : {" >&-", " >/dev/full", " <&- >&-"}) {
            EXPECT_EQ(shell(mac, "\"$MACSIM\" " + verb + output),
                      (ProgramRun{2, "", "macsim: standard output: cannot be written\n"}))
                << verb << output;
        }
    }
    EXPECT_EQ(shell(mac, "\"$MACSIM\" explode <&- >&- 2>&-"), (ProgramRun{2, "", ""}));
    EXPECT_EQ(contentOf(mac.stateDirectory() + "/state.json"), before);
    EXPECT_EQ(contentOf(mac.stateDirectory() + "/lock"), "");
}

TEST(HostileProcess, a_closed_output_does_not_keep_a_change_from_being_made) {
    const MacOnDisk mac;
    EXPECT_EQ(shell(mac, "\"$MACSIM\" unplug 2 <&- >&- 2>&-"), (ProgramRun{0, "", ""}));
    EXPECT_NE(mac.macsim({"show"}).output.find("unplugged"), std::string::npos);
    EXPECT_EQ(contentOf(mac.stateDirectory() + "/lock"), "");
}

TEST(HostileProcess, a_place_where_nothing_can_be_made_is_one_line) {
    const MacOnDisk mac;
    EXPECT_EQ(shell(mac, "SIMULATED_MAC_STATE=/proc/here \"$MACSIM\" show"),
              (ProgramRun{2, "", "simulated Mac: /proc/here: No such file or directory\n"}));
    EXPECT_EQ(shell(mac, "SIMULATED_MAC_STATE=/proc \"$MACSIM\" show"),
              (ProgramRun{2, "", "simulated Mac: /proc/lock: No such file or directory\n"}));
    EXPECT_EQ(shell(mac, "SIMULATED_MAC_STATE=/dev/full \"$MACSIM\" show"),
              (ProgramRun{2, "", "simulated Mac: /dev/full: Not a directory\n"}));
    const std::string tooLong(300, 'x');
    EXPECT_EQ(shell(mac, "SIMULATED_MAC_STATE=/tmp/" + tooLong + " \"$MACSIM\" show"),
              (ProgramRun{2, "",
                          "simulated Mac: /tmp/" + tooLong + "/state.json: File name too long\n"}));
}

// The scene's compact list of defaults is smaller than the same list in its own file, so that a
// limit on file sizes between them kills the process while it writes the latter.
std::string sceneWithManyDefaults() {
    std::string numbers = "0";
    for (int i = 1; i < 2000; ++i) {
        numbers += ",0";
    }
    return R"({ "displays": [ { "id": 1 } ], "defaults": { "a": [)" + numbers + "] } }";
}

TEST(HostileProcess, a_kill_in_the_middle_of_the_first_use_loses_nothing) {
    const MacOnDisk mac(sceneWithManyDefaults());
    EXPECT_EQ(shell(mac, "ulimit -c 0; ulimit -f 6; exec \"$MACSIM\" show").status, 128 + SIGXFSZ);
    EXPECT_FALSE(std::filesystem::exists(mac.stateDirectory() + "/state.json"));
    EXPECT_EQ(mac.macsim({"show"}).status, 0);
    const std::string stored = mac.macsim({"defaults", "--json"}).output;
    EXPECT_TRUE(stored.starts_with("{\"a\":[0,0,")) << stored.substr(0, 80);
    EXPECT_FALSE(std::filesystem::exists(mac.stateDirectory() + "/defaults.json.new"));
}

// A limit on file sizes stands for the full disk: the state takes more than it lets through.
TEST(HostileProcess, a_disk_that_is_full_at_the_first_use_leaves_no_half_of_a_state) {
    const MacOnDisk mac(R"({ "displays": [ { "id": 1 } ], "defaults": { "a": 1 } })" +
                        std::string(5000, ' '));
    const ProgramRun run =
        shell(mac, "(trap '' XFSZ; ulimit -f 4; exec \"$MACSIM\" show 2>&1) | cat");
    EXPECT_EQ(run.output,
              "simulated Mac: " + mac.stateDirectory() + "/state.json: File too large\n");
    for (const char* const name : {"state.json", "state.json.new", "defaults.json"}) {
        EXPECT_FALSE(std::filesystem::exists(mac.stateDirectory() + "/" + name)) << name;
    }
}

TEST(HostileProcess, a_log_that_cannot_be_written_loses_no_line_of_it) {
    const MacOnDisk mac;
    ASSERT_EQ(mac.veilpane({"--list"}).status, 0);
    const std::string log = mac.stateDirectory() + "/calls.jsonl";
    const std::string before = contentOf(log);
    const ProgramRun run =
        shell(mac, "(trap '' XFSZ; ulimit -f " + std::to_string(before.size() / 1024 + 1) +
                       "; for i in 1 2 3 4 5; do veilpane --list || exit; "
                       "done 2>&1 >/dev/null) 2>&1 | cat");
    EXPECT_EQ(run.output, "simulated Mac: " + log + ": File too large\n");
    EXPECT_TRUE(contentOf(log).starts_with(before));
    EXPECT_TRUE(contentOf(log).ends_with("}\n"));
    EXPECT_EQ(mac.macsim({"calls"}).status, 0);
}

} // namespace
