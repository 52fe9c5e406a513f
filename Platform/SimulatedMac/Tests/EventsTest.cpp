#include "SimulatedMac/World/Mac.h"
#include "SimulatedMac/World/Verbs.h"

#include <CoreGraphics/CoreGraphics.h>

#include <array>
#include <gtest/gtest.h>

namespace simulated_mac {
namespace {

using IDs = std::vector<uint32_t>;

IDs online() {
    std::array<CGDirectDisplayID, 8> displays = {};
    uint32_t count = 0;
    EXPECT_EQ(CGGetOnlineDisplayList(8, displays.data(), &count), 0);
    return {displays.begin(), displays.begin() + count};
}

std::string sceneWithEvents(const std::string& events) {
    return R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 }, { "id": 3 } ],
                "events": [ )" +
           events + " ] }";
}

TEST(Events, before_a_call_it_answers_from_the_new_state_and_after_a_call_from_the_old) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.during("CGGetOnlineDisplayList", 2).before("unplug 3").after("unplug 2");
    EXPECT_EQ(online(), (IDs{1, 2, 3}));
    EXPECT_EQ(online(), (IDs{1, 2}));
    EXPECT_EQ(online(), (IDs{1}));
}

TEST(Events, questions_too_answer_from_the_state_after_what_happens_before_them) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.during("CGDisplayIsMain").before("unplug 1");
    EXPECT_FALSE(CGDisplayIsMain(1));
    mac.during("CGDisplayVendorNumber").before("unplug 2");
    EXPECT_EQ(CGDisplayVendorNumber(2), 0xFFFFFFFF);
    mac.during("CGDisplayIsBuiltin").before("plug 1");
    EXPECT_TRUE(CGDisplayIsBuiltin(1));
}

TEST(Events, of_a_scene_happen_around_the_nth_call_in_the_process) {
    Mac::boot(sceneWithEvents(R"({ "before": "CGDisplayIsOnline", "nth": 2, "do": "unplug 3" },
                           { "after": "CGDisplayIsOnline", "nth": 3, "do": "plug 3" })"));
    EXPECT_TRUE(CGDisplayIsOnline(3));
    EXPECT_FALSE(CGDisplayIsOnline(3));
    EXPECT_FALSE(CGDisplayIsOnline(3));
    EXPECT_TRUE(CGDisplayIsOnline(3));
}

TEST(Events, a_star_counts_every_call_and_0_is_each_of_them) {
    Mac::boot(sceneWithEvents(R"({ "before": "*", "nth": 2, "do": "unplug 3" },
                           { "after": "CGDisplayIsActive", "nth": 0, "do": "plug 3" })"));
    EXPECT_TRUE(CGDisplayIsMain(1));
    EXPECT_FALSE(CGDisplayIsActive(3));
    EXPECT_TRUE(CGDisplayIsActive(3));
}

TEST(Events, happen_around_a_call_that_fails_as_well) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.failCall({"CGDisplayIsOnline", 1, 0, false});
    mac.during("CGDisplayIsOnline").before("unplug 3");
    EXPECT_FALSE(CGDisplayIsOnline(2));
    EXPECT_FALSE(mac.display(3).connected);
}

TEST(Events, the_display_of_a_configuration_can_vanish_before_its_completion) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.during("CGCompleteDisplayConfiguration").before("unplug 1");
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 2, 1), 0);
    ASSERT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), 0);
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    mac.plug(1);
    EXPECT_EQ(mac.display(2).mirrors, 1u);
}

TEST(Events, a_configuration_leaves_a_display_alone_that_has_another_id_by_then) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.during("CGCompleteDisplayConfiguration").before("plug 2 --as 7");
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 2, 1), 0);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 3, 2), 0);
    ASSERT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), 0);
    EXPECT_EQ(mac.display(7).mirrors, 0u);
    EXPECT_EQ(mac.display(3).mirrors, 0u);
    EXPECT_EQ(online(), (IDs{1, 7, 3}));
}

TEST(Events, are_told_in_the_log_line_of_their_call) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.during("CGDisplayIsMain").before("unplug 3").before("unplug 2").after("plug 3");
    (void)CGDisplayIsMain(1);
    const auto calls = mac.calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].notes.dump(), R"({"after":["plug 3"],"before":["unplug 3","unplug 2"]})");
}

TEST(Events, that_are_cleared_happen_no_more) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.during("CGDisplayIsMain").before("unplug 1");
    mac.clearEvents();
    EXPECT_TRUE(CGDisplayIsMain(1));
}

TEST(Events, a_bad_line_of_a_test_is_refused_at_once) {
    Mac& mac = Mac::boot(Scene::desk());
    EXPECT_THROW(mac.during("CGDisplayIsMain").before("explode"), VerbError);
    EXPECT_THROW(mac.during("CGDisplayIsMain").before("unplug 9"), VerbError);
    EXPECT_THROW(mac.during("CGDisplayIsMain").after(""), VerbError);
}

TEST(Events, every_mistake_in_a_scene_is_one_line_that_names_the_key) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"1", "s: events[0]: must be an object"},
        {"{}", "s: events[0]: before or after is missing"},
        {R"({ "before": "", "do": "reset" })",
         "s: events[0].before: must be a call's name or \"*\""},
        {R"({ "before": "*" })", "s: events[0]: do is missing"},
        {R"({ "before": "*", "after": "*", "do": "reset" })",
         "s: events[0].before: an event is either before or after a call"},
        {R"({ "before": "*", "when": 1 })", "s: events[0].when: unknown key"},
        {R"({ "before": "*", "nth": -1, "do": "reset" })",
         "s: events[0].nth: not within 0 and 2147483647"},
        {R"({ "before": "*", "do": 1 })", "s: events[0].do: must be a text"},
        {R"({ "before": "*", "do": "" })", "s: events[0].do: no verb"},
        {R"({ "before": "*", "do": "explode" })", "s: events[0].do: unknown verb 'explode'"},
        {R"({ "before": "*", "do": "show" })", "s: events[0].do: unknown verb 'show'"},
        {R"({ "before": "*", "do": "unplug" })", "s: events[0].do: unplug: takes one display ID"},
        {R"({ "before": "*", "do": "unplug x" })", "s: events[0].do: unplug: 'x' is no display ID"},
        {R"({ "before": "*", "do": "unplug 9" })", "s: events[0].do: no display 9"},
        {R"({ "before": "*", "do": "reset now" })", "s: events[0].do: reset: unknown option 'now'"},
    };
    for (const auto& [events, error] : rows) {
        try {
            (void)Scene::parse(sceneWithEvents(events), "s");
            ADD_FAILURE() << events;
        } catch (const SceneError& thrown) {
            EXPECT_EQ(thrown.what(), error);
        }
    }
}

} // namespace
} // namespace simulated_mac
