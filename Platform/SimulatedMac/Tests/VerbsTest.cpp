#include "SimulatedMac/World/Verbs.h"

#include "SimulatedMac/World/Mac.h"
#include "SimulatedMac/World/MacState.h"

#include <CoreGraphics/CoreGraphics.h>

#include <gtest/gtest.h>

namespace simulated_mac {
namespace {

using IDs = std::vector<uint32_t>;

std::string perform(const std::string& line) {
    return parseVerb(wordsOf(line)).carryOut(AttendedMac::current());
}

std::string errorOf(const std::string& line) {
    try {
        const OutsideAction action = parseVerb(wordsOf(line));
        requirePossible(action, Mac::current().scene(), {});
        return action.carryOut(AttendedMac::current());
    } catch (const std::exception& error) {
        return error.what();
    }
}

TEST(Verbs, of_people_and_other_programs_act_on_the_mac) {
    Mac& mac = Mac::boot(Scene::desk());
    EXPECT_EQ(perform("unplug 3"), "");
    EXPECT_FALSE(mac.display(3).connected);
    EXPECT_EQ(perform("plug 3"), "");
    EXPECT_TRUE(mac.display(3).connected);
    EXPECT_EQ(perform("disable 3"), "");
    EXPECT_TRUE(mac.display(3).connected && !mac.display(3).enabled);
    EXPECT_EQ(perform("enable 3"), "");
    EXPECT_TRUE(mac.display(3).lit);
    EXPECT_EQ(perform("main 3"), "");
    EXPECT_TRUE(mac.display(3).main);
    EXPECT_EQ(perform("mirror 2 3"), "");
    EXPECT_EQ(mac.display(2).mirrors, 3u);
    EXPECT_EQ(perform("mirror 2 0"), "");
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_EQ(perform("sleep"), "");
    EXPECT_TRUE(mac.display(2).online && !mac.display(2).active && !mac.display(2).lit);
    EXPECT_EQ(perform("wake"), "");
    EXPECT_TRUE(mac.display(2).active && mac.display(2).lit);
    EXPECT_EQ(perform("lid close"), "");
    EXPECT_TRUE(!mac.display(1).online && !mac.display(1).lit);
    EXPECT_EQ(perform("lid open"), "");
    EXPECT_TRUE(mac.display(1).lit);
    EXPECT_EQ(perform("reset"), "");
    EXPECT_TRUE(mac.display(1).main);
}

TEST(Verbs, that_change_ids_tell_which) {
    Mac& mac = Mac::boot(Scene::desk());
    EXPECT_EQ(perform("plug 2 --as 7"), "2 is now 7\n");
    EXPECT_EQ(perform("unplug 3"), "");
    EXPECT_EQ(perform("plug 7 --as 3"), "7 is now 3\n3 is now 7\n");
    EXPECT_EQ(perform("plug 3 --as 3"), "");
    EXPECT_EQ(perform("reboot --renumber"), "1 is now 3\n3 is now 7\n7 is now 1\n");
    EXPECT_EQ(mac.display(7).name, "Studio");
    EXPECT_EQ(mac.display(7).brightness, 40);
    EXPECT_TRUE(mac.display(3).main);
    EXPECT_FALSE(mac.display(1).connected);
    EXPECT_EQ(perform("reset"), "");
    EXPECT_EQ(mac.display(2).name, "Studio");
}

TEST(Verbs, what_another_program_arranges_stays_after_a_restart) {
    Mac& mac = Mac::boot(Scene::desk());
    perform("disable 1");
    perform("main 3");
    perform("mirror 2 3");
    perform("reboot");
    EXPECT_FALSE(mac.display(1).enabled);
    EXPECT_TRUE(mac.display(3).main);
    EXPECT_EQ(mac.display(2).mirrors, 3u);
}

TEST(Verbs, a_bad_line_is_one_line_and_nothing_is_done) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 },
                                            { "id": 3, "connected": false } ] })");
    const auto before = mac.state().toJson();
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "no verb"},
        {"explode", "unknown verb 'explode'"},
        {"unplug", "unplug: takes one display ID"},
        {"plug", "plug: takes one display ID"},
        {"plug 2 --as", "plug: takes one display ID, or one and --as with the new one"},
        {"plug 2 --is 4", "plug: takes one display ID, or one and --as with the new one"},
        {"plug 2 --as four", "plug: 'four' is no display ID"},
        {"plug 2 --as 0", "plug: 0 is no display"},
        {"plug 2 --as 1", "display 1 is plugged in"},
        {"plug 9 --as 4", "no display 9"},
        {"enable", "enable: takes one display ID"},
        {"enable 3", "display 3 is not plugged in"},
        {"disable 2 3", "disable: takes one display ID"},
        {"disable 3", "display 3 is not online"},
        {"main", "main: takes one display ID"},
        {"main 9", "no display 9"},
        {"main 3", "display 3 is not online"},
        {"mirror 2", "mirror: takes a display ID and its master's, or 0"},
        {"mirror 2 2", "mirror: display 2 cannot mirror itself"},
        {"mirror 2 9", "no display 9"},
        {"mirror 2 3", "display 3 is not online"},
        {"mirror 3 2", "display 3 is not online"},
        {"sleep 2", "sleep: unknown option '2'"},
        {"wake up", "wake: unknown option 'up'"},
        {"lid", "lid: takes 'close' or 'open'"},
        {"lid shut", "lid: takes 'close' or 'open'"},
        {"lid close", "no built-in display"},
        {"logout now", "logout: unknown option 'now'"},
        {"reboot --again", "reboot: unknown option '--again'"},
    };
    for (const auto& [line, error] : rows) {
        EXPECT_EQ(errorOf(line), error);
        EXPECT_EQ(mac.state().toJson(), before) << line;
    }
}

TEST(Verbs, of_events_may_name_an_id_that_another_event_gives) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 } ], "events": [
        { "before": "CGDisplayIsMain", "nth": 2, "do": "unplug 7" },
        { "before": "CGDisplayIsMain", "nth": 1, "do": "plug 2 --as 7" } ] })");
    (void)CGDisplayIsMain(1);
    EXPECT_TRUE(mac.display(7).connected);
    (void)CGDisplayIsMain(1);
    EXPECT_FALSE(mac.display(7).connected);
}

TEST(EventThatCannotBe, ends_the_process_with_one_line_that_names_it) {
    Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2, "connected": false } ],
                   "events": [ { "before": "CGDisplayIsMain", "do": "main 2" } ] })");
    EXPECT_EXIT((void)CGDisplayIsMain(1), testing::ExitedWithCode(2),
                "^simulated Mac: scene: events\\[0\\].do: display 2 is not online\n$");
}

TEST(LidOfAnEvent, needs_a_built_in_display) {
    try {
        (void)Scene::parse(R"({ "displays": [ { "id": 1 } ],
            "events": [ { "after": "*", "do": "lid close" } ] })",
                           "s");
        FAIL();
    } catch (const SceneError& error) {
        EXPECT_STREQ(error.what(), "s: events[0].do: no built-in display");
    }
}

} // namespace
} // namespace simulated_mac
