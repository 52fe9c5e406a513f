// Files of the simulated Mac that are not what they should be: macsim and the program both end with
// one line that names the file and the key, and leave everything as it was.

#include "EndToEnd/ProgramRun.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using nlohmann::json;

const std::string soundScene =
    R"({ "displays": [ { "id": 1, "main": true }, { "id": 2, "ddc": {} } ],
         "defaults": { "Veilpane.disconnectedDisplayIDs": [ 2 ] } })";

void write(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

std::string described(const std::filesystem::directory_entry& entry) {
    if (entry.is_symlink()) {
        return "link to " + std::filesystem::read_symlink(entry.path()).string();
    }
    if (entry.is_regular_file()) {
        return "file of " + contentOf(entry.path());
    }
    return entry.is_directory() ? "directory" : "something else";
}

/// What is in a directory; empty when there is none.
std::map<std::string, std::string> snapshot(const std::string& directory) {
    std::map<std::string, std::string> all;
    if (std::filesystem::is_directory(directory)) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
            all[entry.path()] = described(entry);
        }
    }
    return all;
}

using Commands = std::vector<std::vector<std::string>>;
const Commands readers = {{"show"}, {"show", "--json"}};
const Commands allButReset = {{"show"}, {"unplug", "2"}, {"plug", "2"}, {"logout"}, {"reboot"}};

/// The program and macsim's commands each end with this line, and the state stays as it is.
void expectComplaint(const MacOnDisk& mac, const Commands& commands, const std::string& line) {
    SCOPED_TRACE(line);
    const ProgramRun expected{2, "", "simulated Mac: " + line + "\n"};
    const auto before = snapshot(mac.stateDirectory());
    for (const auto& command : commands) {
        EXPECT_EQ(mac.macsim(command), expected) << command[0];
        EXPECT_EQ(snapshot(mac.stateDirectory()), before);
    }
    for (const auto& arguments : Commands{{"--list"}, {"--power", "off", "2"}}) {
        EXPECT_EQ(mac.veilpane(arguments), expected) << arguments[0];
        EXPECT_EQ(snapshot(mac.stateDirectory()), before);
    }
}

std::string stateFile(const MacOnDisk& mac) {
    return mac.stateDirectory() + "/state.json";
}
std::string defaultsFile(const MacOnDisk& mac) {
    return mac.stateDirectory() + "/defaults.json";
}
std::string logFile(const MacOnDisk& mac) {
    return mac.stateDirectory() + "/calls.jsonl";
}

/// Makes the state, and runs the program once so that there is a log.
void begin(const MacOnDisk& mac) {
    ASSERT_EQ(mac.veilpane({"--list"}).status, 0);
}

TEST(HostileInput, a_member_of_the_state_that_is_not_what_it_should_be) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    const json good = json::parse(contentOf(stateFile(mac)));
    struct Row {
        const char* patch;
        const char* problem;
    };
    const std::vector<Row> rows = {
        {R"([{"op":"replace","path":"/displays","value":null}])", "displays: must be an object"},
        {R"([{"op":"replace","path":"/displays","value":[]}])", "displays: must be an object"},
        {R"([{"op":"replace","path":"/displays","value":7}])", "displays: must be an object"},
        {R"([{"op":"replace","path":"/displays","value":"x"}])", "displays: must be an object"},
        {R"([{"op":"remove","path":"/displays"}])", "displays is missing"},
        {R"([{"op":"remove","path":"/version"}])", "version is missing"},
        {R"([{"op":"replace","path":"/version","value":4294967297}])",
         "version: written by a newer simulated Mac"},
        {R"([{"op":"replace","path":"/version","value":18446744073709551615}])",
         "version: written by a newer simulated Mac"},
        {R"([{"op":"replace","path":"/version","value":1.9}])", "version: must be 1"},
        {R"([{"op":"replace","path":"/version","value":0}])", "version: must be 1"},
        {R"([{"op":"replace","path":"/version","value":-4294967295}])", "version: must be 1"},
        {R"([{"op":"replace","path":"/version","value":"1"}])", "version: must be 1"},
        {R"([{"op":"replace","path":"/version","value":true}])", "version: must be 1"},
        {R"([{"op":"replace","path":"/version","value":null}])", "version: must be 1"},
        {R"([{"op":"remove","path":"/scene"}])", "scene is missing"},
        {R"([{"op":"replace","path":"/scene","value":{}}])", "scene: must be a text"},
        {R"([{"op":"add","path":"/displays/02","value":{}}])", "displays.02: no display ID"},
        {R"([{"op":"replace","path":"/displays/2/connected","value":1}])",
         "displays.2.connected: must be true or false"},
        {R"([{"op":"replace","path":"","value":[1]}])", "must be an object"},
        {R"([{"op":"replace","path":"","value":null}])", "must be an object"},
    };
    for (const auto& [patch, problem] : rows) {
        write(stateFile(mac), good.patch(json::parse(patch)).dump());
        expectComplaint(mac, allButReset, stateFile(mac) + ": " + problem);
    }
}

TEST(HostileInput, a_state_with_a_bad_scene_in_it) {
    const MacOnDisk mac;
    begin(mac);
    json state = json::parse(contentOf(stateFile(mac)));
    state["scene"] = R"({ "colour": 1 })";
    write(stateFile(mac), state.dump());
    expectComplaint(mac, {{"show"}, {"reset"}, {"calls"}},
                    stateFile(mac) + ": scene: colour: unknown key");
}

struct BadText {
    std::string text;
    std::string problem;
};

const std::vector<BadText>& badTexts() {
    static const std::vector<BadText> rows = {
        {"", "not valid JSON at byte 1"},
        {"\xEF\xBB\xBF", "not valid JSON at byte 4"},
        {std::string("\xFF\xFE{\0}\0", 6), "not valid UTF-8 at byte 1"},
        {"{\"a\xFF\": 1}", "not valid UTF-8 at byte 4"},
        {"{} {}", "not valid JSON at byte 4"},
        {std::string("{}\0more", 7), "not valid JSON at byte 3"},
        {R"({"displays": [NaN]})", "not valid JSON at byte 15"},
        {R"({"version": 1e400})", "version: number out of range"},
        {R"({"displays": {}, "displays": {}})", "displays: given twice"},
        {R"({"a\nb\u001b[31m": 1, "a\nb\u001b[31m": 2})", R"(a\nb\u001b[31m: given twice)"},
        {"{\"" + std::string(5000, 'k') + "\": 1e400}",
         std::string(29, 'k') + "…" + std::string(29, 'k') + ": number out of range"},
        {"[]", "must be an object"},
        {"null", "must be an object"},
        {"{\"a\": " + std::string(20'000, '['), "a[0]" +
                                                    [] {
                                                        std::string deeper;
                                                        for (int i = 0; i < 62; ++i) {
                                                            deeper += "[0]";
                                                        }
                                                        return deeper;
                                                    }() +
                                                    ": nested deeper than 64"},
    };
    return rows;
}

TEST(HostileInput, a_text_that_is_no_state) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    for (const auto& [text, problem] : badTexts()) {
        write(stateFile(mac), text);
        expectComplaint(mac, readers, stateFile(mac) + ": " + problem);
    }
}

TEST(HostileInput, a_text_that_is_no_user_defaults) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    std::vector<BadText> rows = badTexts();
    rows.push_back(
        {R"({"a": null})", "a: must be a number, a text, true, false, an array or an object"});
    rows.push_back({R"({"a": 18446744073709551615})",
                    "a: not within -9223372036854775808 and 9223372036854775807"});
    for (const auto& [text, problem] : rows) {
        write(defaultsFile(mac), text);
        expectComplaint(mac, {{"defaults"}, {"defaults", "--json"}},
                        defaultsFile(mac) + ": " + problem);
    }
}

TEST(HostileInput, a_text_that_is_no_scene_neither_makes_a_state_nor_changes_one) {
    const MacOnDisk mac(soundScene);
    const Commands commands = {{"show"}, {"reset"}, {"unplug", "2"}, {"calls", "--clear"}};
    for (const auto& [text, problem] : badTexts()) {
        mac.changeScene(text);
        expectComplaint(mac, commands, mac.sceneFile() + ": " + problem);
        EXPECT_FALSE(std::filesystem::exists(mac.stateDirectory()));
    }
    mac.changeScene(soundScene);
    begin(mac);
    for (const auto& [text, problem] : badTexts()) {
        mac.changeScene(text);
        expectComplaint(mac, commands, mac.sceneFile() + ": " + problem);
    }
}

TEST(HostileInput, a_line_of_the_log_that_is_no_call) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    const std::string good = R"({"pid":1,"call":"NSBeep","args":[],"result":null})";
    const std::vector<BadText> rows = {
        {"nothing", "not valid JSON at byte 2"},
        {"", "not valid JSON at byte 1"},
        {"[1]", "must be an object"},
        {"{}", "args is missing"},
        {R"({"pid":1,"call":"NSBeep","args":{},"result":0})", "args: must be an array"},
        {R"({"pid":"1","call":"NSBeep","args":[],"result":0})", "pid: must be a whole number"},
        {R"({"pid":-1,"call":"NSBeep","args":[],"result":0})", "pid: not within 0 and 2147483647"},
        {R"({"pid":1,"call":1,"args":[],"result":0})", "call: must be a text"},
        {R"({"pid":1,"call":"NSBeep","args":[]})", "result is missing"},
        {"{\"pid\":1,\"call\":\"\xFF\"}", "not valid UTF-8 at byte 18"},
    };
    for (const auto& [line, problem] : rows) {
        write(logFile(mac), good + "\n" + line + "\n" + good + "\n");
        const auto before = snapshot(mac.stateDirectory());
        for (const Commands::value_type& command : Commands{{"calls"}, {"calls", "--json"}}) {
            EXPECT_EQ(mac.macsim(command), (ProgramRun{2, "",
                                                       "simulated Mac: " + logFile(mac) +
                                                           ": line 2: " + problem + "\n"}));
            EXPECT_EQ(snapshot(mac.stateDirectory()), before);
        }
    }
    EXPECT_EQ(mac.macsim({"calls", "--clear"}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(mac.macsim({"calls"}), (ProgramRun{0, "", ""}));
}

TEST(HostileInput, a_last_line_of_the_log_that_a_kill_cut_is_dropped) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    const std::string good = R"({"pid":1,"call":"NSBeep","args":[],"result":null})";
    write(logFile(mac), good + "\n" + good.substr(0, 20));
    EXPECT_EQ(mac.macsim({"calls", "--json"}), (ProgramRun{0, good + "\n", ""}));
    ASSERT_EQ(mac.veilpane({"--list"}).status, 0);
    const ProgramRun calls = mac.macsim({"calls", "--json"});
    EXPECT_EQ(calls.status, 0) << calls;
    EXPECT_TRUE(calls.output.starts_with(good + "\n{"));
    EXPECT_GT(std::ranges::count(calls.output, '\n'), 2);
}

enum class Thing { folder, pipe, danglingLink, device };

void putInPlace(const std::string& file, Thing thing) {
    std::filesystem::remove(file);
    switch (thing) {
    case Thing::folder:
        std::filesystem::create_directory(file);
        break;
    case Thing::pipe:
        ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
        break;
    case Thing::danglingLink:
        std::filesystem::create_symlink("nowhere", file);
        break;
    case Thing::device:
        std::filesystem::create_symlink("/dev/zero", file);
        break;
    }
}

const std::vector<std::pair<Thing, std::string>> things = {
    {Thing::folder, "Is a directory"},
    {Thing::pipe, "not a regular file"},
    {Thing::danglingLink, "a link to nothing"},
    {Thing::device, "not a regular file"},
};

TEST(HostileInput, what_is_no_regular_file_is_no_scene) {
    for (const auto& [thing, problem] : things) {
        const MacOnDisk mac(soundScene);
        putInPlace(mac.sceneFile(), thing);
        expectComplaint(mac, {{"show"}, {"reset"}}, mac.sceneFile() + ": " + problem);
        EXPECT_FALSE(std::filesystem::exists(mac.stateDirectory()));
    }
}

TEST(HostileInput, what_is_no_regular_file_is_no_part_of_the_state) {
    struct Row {
        std::string name;
        Commands commands;
    };
    const std::vector<Row> rows = {
        {"state.json", allButReset},
        {"defaults.json", {{"defaults"}}},
        {"calls.jsonl", {{"calls"}, {"calls", "--json"}}},
        {"lock", {{"show"}, {"unplug", "2"}, {"reset"}, {"calls"}}},
    };
    for (const auto& [name, commands] : rows) {
        for (const auto& [thing, problem] : things) {
            const MacOnDisk mac(soundScene);
            begin(mac);
            const std::string file = mac.stateDirectory() + "/" + name;
            putInPlace(file, thing);
            expectComplaint(mac, commands, file + ": " + problem);
        }
    }
}

TEST(HostileInput, a_state_directory_that_is_none) {
    for (const auto& [problem, prepare] :
         std::vector<std::pair<std::string, std::function<void(const std::string&)>>>{
             {"Not a directory", [](const std::string& path) { write(path, "a file"); }},
             {"Not a directory", [](const std::string& path) { putInPlace(path, Thing::pipe); }},
             {"a link to nothing",
              [](const std::string& path) { putInPlace(path, Thing::danglingLink); }}}) {
        for (const std::string& text : {soundScene, std::string()}) {
            const MacOnDisk mac(text);
            prepare(mac.stateDirectory());
            const auto type = std::filesystem::symlink_status(mac.stateDirectory()).type();
            expectComplaint(mac, {{"show"}, {"reset"}}, mac.stateDirectory() + ": " + problem);
            EXPECT_EQ(std::filesystem::symlink_status(mac.stateDirectory()).type(), type);
        }
    }
}

TEST(HostileInput, a_temporary_file_that_cannot_be_replaced) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    const std::string file = stateFile(mac) + ".new";
    putInPlace(file, Thing::folder);
    const auto before = snapshot(mac.stateDirectory());
    EXPECT_EQ(mac.macsim({"unplug", "2"}),
              (ProgramRun{2, "", "simulated Mac: " + file + ": File exists\n"}));
    EXPECT_EQ(snapshot(mac.stateDirectory()), before);
}

TEST(HostileInput, a_temporary_file_that_a_kill_left_is_no_hindrance) {
    for (const Thing thing : {Thing::pipe, Thing::danglingLink, Thing::device}) {
        const MacOnDisk mac(soundScene);
        begin(mac);
        putInPlace(stateFile(mac) + ".new", thing);
        EXPECT_EQ(mac.macsim({"unplug", "2"}), (ProgramRun{0, "", ""}));
        EXPECT_FALSE(
            std::filesystem::exists(std::filesystem::symlink_status(stateFile(mac) + ".new")));
        EXPECT_TRUE(std::filesystem::is_regular_file(stateFile(mac)));
    }
}

TEST(HostileInput, a_file_that_is_too_large) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    constexpr std::uintmax_t tooLarge = (std::uintmax_t{16} << 20) + 1;
    const std::string good = contentOf(stateFile(mac));
    std::filesystem::resize_file(stateFile(mac), tooLarge);
    expectComplaint(mac, {{"show"}}, stateFile(mac) + ": larger than 16 MiB");
    write(stateFile(mac), good);
    std::filesystem::resize_file(mac.sceneFile(), tooLarge);
    expectComplaint(mac, {{"show"}}, mac.sceneFile() + ": larger than 16 MiB");
}

TEST(HostileInput, a_scene_that_makes_too_large_a_state_makes_none) {
    // Every line feed takes two bytes in the state.
    const MacOnDisk mac(soundScene + std::string(10U << 20, '\n'));
    const std::string line = stateFile(mac) + ": would be too large to be read again";
    EXPECT_EQ(mac.macsim({"show"}), (ProgramRun{2, "", "simulated Mac: " + line + "\n"}));
    EXPECT_FALSE(std::filesystem::exists(stateFile(mac)));
    EXPECT_FALSE(std::filesystem::exists(defaultsFile(mac)));
}

TEST(HostileInput, reset_mends_a_damaged_state_when_the_scene_is_good) {
    const MacOnDisk mac(soundScene);
    begin(mac);
    write(stateFile(mac), "damaged");
    write(defaultsFile(mac), "damaged");
    write(logFile(mac), "damaged\n");
    EXPECT_EQ(mac.macsim({"reset"}), (ProgramRun{0, "", ""}));
    EXPECT_EQ(mac.macsim({"show"}).status, 0);
    EXPECT_EQ(mac.macsim({"defaults", "--json"}).output,
              "{\"Veilpane.disconnectedDisplayIDs\":[2]}\n");
    EXPECT_EQ(mac.macsim({"calls"}), (ProgramRun{0, "", ""}));
}

TEST(HostileInput, names_are_shown_on_one_line) {
    const MacOnDisk mac(
        R"({ "displays": [ { "id": 1, "profilerName": "a\nb\u001b[31m\u202e" } ] })");
    EXPECT_EQ(mac.macsim({"show"}).output,
              "ID  NAME                  ARRANGEMENT  POWER  GAMMA   BRIGHTNESS  PICTURE\n"
              "1   a\\nb\\u001b[31m\\u202e  main         on     normal  -           lit\n");
}

} // namespace
