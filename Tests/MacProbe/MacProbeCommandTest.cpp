// The program itself, on a Mac in files.

#include "EndToEnd/ProgramRun.h"
#include "Support/SceneFiles.h"
#include "Support/Scenes.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

namespace {

const std::string panelAndSide =
    scene({R"({ "id": 1, "main": true, "screenName": "Panel" })",
           R"({ "id": 2, "vendor": 7, "model": 8, "screenName": "Side" })"},
          {R"("macOS": "14.5", "processor": "arm64")"});

std::string macprobeInShell() {
    return inShell(commandOf("MACPROBE_PROGRAM", MACPROBE_EXECUTABLE));
}

ProgramRun macprobe(const MacOnDisk& mac, const std::string& arguments,
                    const std::string& input = "") {
    return runProgram("/bin/sh",
                      {"-c", "printf '" + input + "' | " + macprobeInShell() + arguments},
                      mac.environment());
}

TEST(MacProbeCommand, a_wrong_command_line_is_one_line_and_status_64) {
    const MacOnDisk mac(panelAndSide);
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "what shall it do?"},
        {"list", "'list' is no command"},
        {"--scene", "'--scene' is no command"},
        {"'a\\033[31m\\n'", "'a\\033[31m\\n' is no command"},
        {"scene now", "'now' is too much"},
        {"--help me", "'me' is too much"},
        {"ask 2", "'2' is too much"},
        {"ask --switching", "--switching needs a display's ID"},
        {"ask --switching 0", "'0' is no display's ID"},
        {"ask --switching two", "'two' is no display's ID"},
        {"ask --switching 4294967296", "'4294967296' is no display's ID"},
        {"ask --switching 2 3", "--switching takes one ID"},
        {"companion", "'companion' is no command"},
        {"companion watch", "watch needs a display's ID"},
    };
    for (const auto& [arguments, problem] : rows) {
        EXPECT_EQ(macprobe(mac, arguments),
                  (ProgramRun{64, "", "macprobe: " + problem + "; try macprobe --help\n"}))
            << arguments;
    }
}

TEST(MacProbeCommand, control_characters_of_a_word_do_not_reach_the_terminal) {
    const MacOnDisk mac(panelAndSide);
    EXPECT_EQ(macprobe(mac, "\"$(printf 'a\\033[31mb')\"").errors,
              "macprobe: 'a?[31mb' is no command; try macprobe --help\n");
}

TEST(MacProbeCommand, help_and_version_are_told) {
    const MacOnDisk mac(panelAndSide);
    EXPECT_EQ(macprobe(mac, "--version"), quiet(0, "macprobe " PROJECT_VERSION "\n"));
    const ProgramRun help = macprobe(mac, "--help");
    EXPECT_EQ(help.status, 0);
    for (const char* const command : {"macprobe scene", "macprobe ask ", "ask --switching ID",
                                      "displays' names, which may hold one"}) {
        EXPECT_TRUE(help.output.contains(command)) << command;
    }
}

TEST(MacProbeCommand, a_recorded_scene_is_one_that_the_simulated_mac_takes) {
    const MacOnDisk mac(panelAndSide);
    const ProgramRun recorded = macprobe(mac, "scene");
    ASSERT_EQ(recorded.errors, "");
    const MacOnDisk again(recorded.output);
    EXPECT_EQ(again.macsim({"show"}), mac.macsim({"show"}));
    EXPECT_EQ(macprobe(again, "scene"), recorded);
}

TEST(MacProbeCommand, a_scene_of_what_was_recorded_is_recorded_alike) {
    for (const SceneFile& file : sceneFiles()) {
        const ProgramRun recorded = macprobe(MacOnDisk(file.text), "scene");
        ASSERT_EQ(recorded.errors, "") << file.name;
        EXPECT_EQ(macprobe(MacOnDisk(recorded.output), "scene"), recorded) << file.name;
    }
}

TEST(MacProbeCommand, properties_of_every_type_are_recorded) {
    const MacOnDisk mac(scene({main1, plain2}, {registry(R"({ "class": "IOFramebuffer",
        "properties": { "DisplayID": 2, "A": true, "B": { "data": "0a1b" }, "C": [1, "two"],
                        "D": { "E": -3 } } })")}));
    const ProgramRun recorded = macprobe(mac, "scene");
    EXPECT_TRUE(recorded.output.contains("DisplayID")) << recorded;
    EXPECT_EQ(macprobe(MacOnDisk(recorded.output), "scene"), recorded);
}

TEST(MacProbeCommand, a_closed_standard_stream_changes_nothing_else) {
    const MacOnDisk mac(panelAndSide);
    EXPECT_EQ(macprobe(mac, "scene <&- 2>&-"), macprobe(mac, "scene"));
}

TEST(MacProbeCommand, a_reading_and_a_wait_that_a_signal_interrupts_are_repeated) {
    const std::string_view displays = R"({ "id": 1, "main": true, "profilerName": "Panel" })";
    const MacOnDisk undisturbed(scene({displays}));
    const MacOnDisk disturbed(scene({displays}, {R"("faults": [
        { "call": "read", "nth": 1, "returns": -1, "errno": 4 },
        { "call": "waitpid", "nth": 1, "returns": -1, "errno": 4 } ])"}));
    EXPECT_EQ(macprobe(disturbed, "scene"), macprobe(undisturbed, "scene"));
}

TEST(MacProbeCommand, what_cannot_be_written_is_told) {
    const MacOnDisk mac(panelAndSide);
    for (const char* const command : {"scene", "ask", "--help"}) {
        EXPECT_EQ(macprobe(mac, std::string(command) + " >/dev/full"),
                  (ProgramRun{74, "", "macprobe: cannot write it\n"}));
    }
}

TEST(MacProbeCommand, without_a_session_it_says_so) {
    const MacOnDisk mac(R"({ "session": false, "displays": [ { "id": 1 } ] })");
    EXPECT_EQ(macprobe(mac, "scene"),
              (ProgramRun{1, "",
                          "macprobe: no display is online; run it in Terminal on the Mac's own "
                          "desktop, not over ssh\n"}));
}

TEST(MacProbeCommand, ask_without_a_session_says_so_beside_the_little_that_it_can_tell) {
    const MacOnDisk mac(R"({ "session": false, "displays": [ { "id": 1 } ] })");
    const ProgramRun asked = macprobe(mac, "ask");
    EXPECT_EQ(asked.status, 1);
    EXPECT_EQ(asked.errors, "macprobe: no display is online; run it in Terminal on the Mac's own "
                            "desktop, not over ssh\n");
    EXPECT_TRUE(asked.output.contains(
        "| all are empty, as they would be without a display, too | agrees |"));
    EXPECT_TRUE(asked.output.contains("\n1 agree, 0 differ, "));
    EXPECT_FALSE(asked.output.contains("nothing that a program can find out"));
}

TEST(MacProbeCommand, ask_prints_a_table_and_changes_nothing) {
    const MacOnDisk mac(panelAndSide);
    const ProgramRun asked = macprobe(mac, "ask");
    EXPECT_EQ(asked.status, 0);
    EXPECT_EQ(asked.errors, "");
    EXPECT_TRUE(asked.output.starts_with("macOS 14.5, arm64\n\n| Identifier |"));
    EXPECT_TRUE(asked.output.contains("| needs ask --switching ID | cannot tell |"));
    EXPECT_TRUE(mac.display(2).at("lit"));
}

TEST(MacProbeCommand, nothing_is_switched_unless_it_is_told_yes) {
    const MacOnDisk mac(panelAndSide);
    for (const char* const answer : {"", "no\\n", "y\\n", "YES\\n", "yes please\\n"}) {
        const ProgramRun asked = macprobe(mac, "ask --switching 2", answer);
        EXPECT_EQ(asked.status, 1) << answer;
        EXPECT_EQ(asked.output, "") << answer;
        EXPECT_TRUE(asked.errors.starts_with("Display 2 (Side) will really be switched"));
        EXPECT_TRUE(asked.errors.ends_with("macprobe: not told yes; nothing is switched\n"));
    }
    EXPECT_FALSE(mac.macsim({"calls"}).output.contains("CGBeginDisplayConfiguration"));
}

TEST(MacProbeCommand, told_yes_it_answers_everything_and_puts_the_display_back) {
    const MacOnDisk mac(panelAndSide);
    const auto before = mac.macsim({"show"});
    const ProgramRun asked = macprobe(mac, "ask --switching 2", "yes\\n");
    EXPECT_EQ(asked.status, 0) << asked.errors;
    EXPECT_FALSE(asked.output.contains("needs ask --switching"));
    EXPECT_TRUE(asked.errors.ends_with("- everything is put back\n"));
    EXPECT_EQ(mac.macsim({"show"}), before);
}

TEST(MacProbeCommand, a_step_that_macos_refuses_cannot_be_told) {
    const MacOnDisk mac(
        scene({main1, plain2},
              {faults({fails("CGConfigureDisplayMirrorOfDisplay").every().with(1001)})}));
    const ProgramRun asked = macprobe(mac, "ask --switching 2", "yes\\n");
    EXPECT_EQ(asked.status, 0) << asked;
    EXPECT_TRUE(mac.macsim({"calls"}).output.contains("CGCancelDisplayConfiguration"));
    EXPECT_TRUE(mac.display(2).at("lit"));
}

TEST(MacProbeCommand, colours_that_another_process_has_spoilt_are_restored) {
    const MacOnDisk mac(scene({main1, plain2}, {R"("gammaExitZeroes": 1)"}));
    const ProgramRun asked = macprobe(mac, "ask --switching 2", "yes\\n");
    EXPECT_EQ(asked.status, 0) << asked;
    EXPECT_TRUE(asked.output.contains("other displays' tables have changed | **differs**"));
    EXPECT_EQ(mac.display(1).at("gamma"), "normal");
}

/// Waits until display 2 is in a state, at most so many seconds.
bool becomes(const MacOnDisk& mac, bool lit, int seconds) {
    for (int i = 0; i < seconds * 10; ++i) {
        if (mac.display(2).at("lit") == lit && mac.display(2).at("enabled") == lit) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

/// `ask --switching 2`, told yes, with the display off.
class SwitchedOff {
public:
    explicit SwitchedOff(const MacOnDisk& mac)
        : asking_("/bin/sh",
                  {"-c", "printf 'yes\\n' >'" + answerFile(mac) + "'; exec " + macprobeInShell() +
                             "ask --switching 2 <'" + answerFile(mac) + "'"},
                  mac.environment()) {
        for (int i = 0; i < 600 && !isOff_ && asking_.isRunning(); ++i) {
            isOff_ = !mac.display(2).at("enabled").get<bool>();
        }
    }
    [[nodiscard]] bool isOff() const { return isOff_; }
    RunningProgram& asking() { return asking_; }

private:
    static std::string answerFile(const MacOnDisk& mac) { return mac.stateDirectory() + "-yes"; }

    RunningProgram asking_;
    bool isOff_ = false;
};

// Two tests that wait as long as a person would.
TEST(MacProbeCommand, killed_with_the_display_off_it_has_it_back_within_half_a_minute) {
    const MacOnDisk mac(panelAndSide);
    SwitchedOff off(mac);
    ASSERT_TRUE(off.isOff());
    off.asking().kill(SIGKILL);
    EXPECT_FALSE(mac.display(2).at("enabled"));
    EXPECT_TRUE(becomes(mac, true, 60));
}

TEST(MacProbeCommand, hanging_with_the_display_off_it_is_ended_and_the_display_comes_back) {
    const MacOnDisk mac(panelAndSide);
    SwitchedOff off(mac);
    ASSERT_TRUE(off.isOff());
    off.asking().kill(SIGSTOP);
    EXPECT_TRUE(becomes(mac, true, 60));
    EXPECT_EQ(off.asking().finish().status, 128 + SIGKILL);
}

} // namespace
