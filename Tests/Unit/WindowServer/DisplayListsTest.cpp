#include "Veilpane/WindowServer/DisplayLists.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <functional>
#include <numeric>

namespace veilpane::test {

namespace {

using IDs = std::vector<CGDirectDisplayID>;
using Lines = std::vector<std::string>;

/// 1 to `last`.
IDs upTo(CGDirectDisplayID last) {
    IDs ids(last);
    std::iota(ids.begin(), ids.end(), 1U);
    return ids;
}

struct ListRow {
    const char* name;
    std::string scene;
    std::function<std::optional<IDs>()> list;
    std::optional<IDs> expected;
    Lines calls;

    friend void PrintTo(const ListRow& row, std::ostream* stream) { *stream << row.name; }
};

class DisplayList : public SimulatedMacTest, public testing::WithParamInterface<ListRow> {};

TEST_P(DisplayList, is_the_one_of_its_row) {
    boot(GetParam().scene);
    EXPECT_EQ(GetParam().list(), GetParam().expected);
    EXPECT_EQ(calls({"CGGetOnlineDisplayList", "CGGetActiveDisplayList", "SLSGetDisplayList"}),
              GetParam().calls);
}

std::string faulty(const simulated_mac::SceneFault& fault) {
    return scene({main1, plain2, plain3}, {faults({fault})});
}

// Display 2 is off, 3 mirrors 1; the main display is not the first.
const std::string mixed =
    scene({R"({ "id": 4 }, { "id": 1, "main": true })", disabled2, R"({ "id": 3, "mirrors": 1 })"});

const auto online32 = [] { return onlineDisplays(32); };
const auto online2 = [] { return onlineDisplays(2); };
const auto active16 = [] { return activeDisplays(16); };
const auto active2 = [] { return activeDisplays(2); };

const std::vector<ListRow> listRows = {
    {"online_none", scene({}), online32, IDs(), {"CGGetOnlineDisplayList(32) = 0"}},
    {"online_in_the_window_servers_order",
     mixed,
     online32,
     IDs{4, 1, 3},
     {"CGGetOnlineDisplayList(32) = 0"}},
    {"online_cut_to_the_capacity", mixed, online2, IDs{4, 1}, {"CGGetOnlineDisplayList(2) = 0"}},
    {"online_just_the_capacity",
     scene({main1, plain2}),
     online2,
     IDs{1, 2},
     {"CGGetOnlineDisplayList(2) = 0"}},
    {"online_fails",
     faulty(fails("CGGetOnlineDisplayList").with(1000)),
     online32,
     std::nullopt,
     {"CGGetOnlineDisplayList(32) = 1000"}},
    {"online_answers_with_nothing",
     faulty(fails("CGGetOnlineDisplayList").withNull()),
     online32,
     IDs(),
     {"CGGetOnlineDisplayList(32) = 0"}},
    {"active_none", scene({}), active16, IDs(), {"CGGetActiveDisplayList(16) = 0"}},
    {"active_main_first_without_mirrors",
     mixed,
     active16,
     IDs{1, 4},
     {"CGGetActiveDisplayList(16) = 0"}},
    {"active_cut_to_the_capacity",
     scene({main1, plain2, plain3}),
     active2,
     IDs{1, 2},
     {"CGGetActiveDisplayList(2) = 0"}},
    {"active_fails",
     faulty(fails("CGGetActiveDisplayList").with(1000)),
     active16,
     std::nullopt,
     {"CGGetActiveDisplayList(16) = 1000"}},
    {"active_answers_with_nothing",
     faulty(fails("CGGetActiveDisplayList").withNull()),
     active16,
     IDs(),
     {"CGGetActiveDisplayList(16) = 0"}},
    {"known_none", scene({}), knownDisplays, std::nullopt, {"SLSGetDisplayList(0) = 0"}},
    {"known_one",
     scene({main1}),
     knownDisplays,
     IDs{1},
     {"SLSGetDisplayList(0) = 0", "SLSGetDisplayList(1) = 0"}},
    {"known_with_the_disabled_ones",
     mixed,
     knownDisplays,
     IDs{4, 1, 2, 3},
     {"SLSGetDisplayList(0) = 0", "SLSGetDisplayList(4) = 0"}},
    {"known_63",
     scene({numberedDisplays(63)}),
     knownDisplays,
     upTo(63),
     {"SLSGetDisplayList(0) = 0", "SLSGetDisplayList(63) = 0"}},
    {"known_64_is_not_believed",
     scene({numberedDisplays(64)}),
     knownDisplays,
     std::nullopt,
     {"SLSGetDisplayList(0) = 0"}},
    {"known_without_skylight", scene({main1}, {noSkyLight}), knownDisplays, std::nullopt, {}},
    {"known_without_the_function",
     scene({main1}, {onlySkyLightsSwitch}),
     knownDisplays,
     std::nullopt,
     {}},
    {"known_counting_fails",
     faulty(fails("SLSGetDisplayList").with(1000)),
     knownDisplays,
     std::nullopt,
     {"SLSGetDisplayList(0) = 1000"}},
    {"known_listing_fails",
     faulty(fails("SLSGetDisplayList").nth(2).with(1000)),
     knownDisplays,
     IDs(),
     {"SLSGetDisplayList(0) = 0", "SLSGetDisplayList(3) = 1000"}},
    {"known_listing_has_none_any_more",
     faulty(fails("SLSGetDisplayList").nth(2).withNull()),
     knownDisplays,
     IDs(),
     {"SLSGetDisplayList(0) = 0", "SLSGetDisplayList(3) = 0"}},
};

INSTANTIATE_TEST_SUITE_P(WindowServer, DisplayList, testing::ValuesIn(listRows),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace veilpane::test
