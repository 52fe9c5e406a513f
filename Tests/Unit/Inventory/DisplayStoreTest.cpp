#include "Veilpane/Inventory/DisplayStore.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"
#include "Veilpane/Power/DisplayDisconnect.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace veilpane::test {

namespace {

using simulated_mac::Mac;

using DisplayStoreTest = SimulatedMacTest;

std::vector<DisplayItem> list() {
    return DisplayStore::shared().listDisplays();
}

std::vector<CGDirectDisplayID> listedIDs() {
    std::vector<CGDirectDisplayID> ids;
    for (const DisplayItem& item : list()) {
        ids.push_back(item.id);
    }
    return ids;
}

/// 1 to `last`.
std::vector<CGDirectDisplayID> upTo(int last) {
    std::vector<CGDirectDisplayID> ids(static_cast<std::size_t>(last));
    std::iota(ids.begin(), ids.end(), 1U);
    return ids;
}

std::vector<CGDirectDisplayID> listedInOrderOfID() {
    auto ids = listedIDs();
    std::ranges::sort(ids);
    return ids;
}

std::string nameOf(CGDirectDisplayID id) {
    for (const DisplayItem& item : list()) {
        if (item.id == id) {
            return item.name;
        }
    }
    return "not listed";
}

TEST_F(DisplayStoreTest, without_displays_the_list_is_empty) {
    boot(scene({}));
    EXPECT_TRUE(list().empty());
}

TEST_F(DisplayStoreTest, a_failing_online_list_leaves_only_our_disconnected_displays) {
    Mac& mac = boot(scene({main1, disabled2}, {remembered("[2]")}));
    mac.failCall(fails("CGGetOnlineDisplayList").with(1000));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{2}));
}

TEST_F(DisplayStoreTest, main_first_then_by_name_then_the_disconnected_ones) {
    boot(scene(
        {R"({ "id": 5, "profilerName": "Alpha", "enabled": false },
                  { "id": 2, "profilerName": "Zulu", "main": true },
                  { "id": 4, "profilerName": "Charlie" }, { "id": 3, "profilerName": "Bravo" },
                  { "id": 6, "screenName": "x", "enabled": false })"},
        {remembered("[5, 6]"),
         R"("profiler": { "output": "{\"SPDisplaysDataType\":[{\"spdisplays_ndrvs\":[{\"_name\":\"Zulu\",\"_spdisplays_displayID\":\"2\"},{\"_name\":\"Charlie\",\"_spdisplays_displayID\":\"4\"},{\"_name\":\"Bravo\",\"_spdisplays_displayID\":\"3\"},{\"_name\":\"Yankee\",\"_spdisplays_displayID\":\"5\"},{\"_name\":\"Alpha\",\"_spdisplays_displayID\":\"6\"}]}]}" })"}));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{2, 3, 4, 6, 5}));
}

TEST_F(DisplayStoreTest, equal_names_keep_the_online_order) {
    boot(scene({R"({ "id": 9, "main": true }, { "id": 7, "profilerName": "Same" },
                  { "id": 3, "profilerName": "Same" }, { "id": 5, "profilerName": "Same" })"}));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{9, 7, 3, 5}));
}

TEST_F(DisplayStoreTest, names_are_compared_as_people_of_the_locale_do_and_not_as_bytes) {
    // Away from a Mac the locale is the environment's.
    setenv("LC_ALL", "en_US.UTF-8", 1);
    boot(scene({R"({ "id": 9, "main": true, "profilerName": "Z" })",
                R"({ "id": 2, "profilerName": "Beta" })", R"({ "id": 3, "profilerName": "alpha" })",
                R"({ "id": 4, "profilerName": "Émile" })",
                R"({ "id": 5, "profilerName": "Zeta" })"}));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{9, 3, 2, 4, 5}));
}

TEST_F(DisplayStoreTest, names_are_compared_beyond_a_zero_character) {
    boot(scene({R"({ "id": 9, "main": true })", R"({ "id": 2, "profilerName": "A\u0000C" })",
                R"({ "id": 3, "profilerName": "A\u0000B" })"}));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{9, 3, 2}));
    EXPECT_EQ(nameOf(2), std::string("A\0C", 3));
}

TEST_F(DisplayStoreTest, of_the_disconnected_displays_the_main_one_comes_first) {
    Mac& mac = boot(scene({main1, R"({ "id": 2, "profilerName": "Alpha", "enabled": false })",
                           R"({ "id": 3, "profilerName": "Zulu", "enabled": false })"},
                          {remembered("[2, 3]")}));
    // The window server's word for it counts, however it comes to say so of a disconnected display.
    mac.failCall(fails("CGDisplayIsMain").nth(3).with(1));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1, 3, 2}));
}

TEST_F(DisplayStoreTest, a_disconnected_display_is_flagged_and_last) {
    boot();
    ASSERT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    const auto displays = list();
    ASSERT_EQ(displays.size(), 3u);
    EXPECT_EQ(displays[2].id, 2u);
    EXPECT_TRUE(displays[2].isDisconnected);
    EXPECT_FALSE(displays[2].isMirrorSlave);
    EXPECT_FALSE(displays[0].isDisconnected);
}

TEST_F(DisplayStoreTest, a_disconnected_display_is_no_mirror_slave_whatever_the_mac_says) {
    Mac& mac = boot(scene({main1, disabled2}, {remembered("[2]")}));
    mac.failCall(fails("CGDisplayIsInMirrorSet").every().with(1));
    const auto displays = list();
    ASSERT_EQ(displays.size(), 2u);
    EXPECT_TRUE(displays[1].isDisconnected);
    EXPECT_FALSE(displays[1].isMirrorSlave);
}

TEST_F(DisplayStoreTest, a_remembered_display_that_is_online_again_is_listed_once_as_connected) {
    boot(scene({main1, plain2}, {remembered("[2]")}));
    const auto displays = list();
    ASSERT_EQ(displays.size(), 2u);
    EXPECT_FALSE(displays[1].isDisconnected);
}

TEST_F(DisplayStoreTest, a_display_disconnected_by_someone_else_is_not_listed) {
    boot(scene({main1, disabled2}));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1}));
}

TEST_F(DisplayStoreTest, a_display_disconnected_by_someone_else_during_the_listing_is_left_out) {
    Mac& mac = boot(scene({main1, plain2}));
    // The candidates' list, then display 1's; display 2's fails, as if it had just gone.
    mac.failCall(fails("CGGetOnlineDisplayList").nth(3).with(1000));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1}));
}

TEST_F(DisplayStoreTest, an_id_that_is_neither_online_nor_active_is_left_out) {
    Mac& mac = boot(scene({main1, plain2}));
    mac.failCall(fails("CGDisplayIsOnline").nth(2).with(0));
    mac.failCall(fails("CGDisplayIsActive").with(0));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1}));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1, 2}));
}

TEST_F(DisplayStoreTest, an_active_display_is_listed_although_it_is_not_reported_online) {
    Mac& mac = boot(scene({main1, plain2}));
    mac.failCall(fails("CGDisplayIsOnline").nth(2).with(0));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1, 2}));
}

TEST_F(DisplayStoreTest, every_member_of_a_mirror_set_but_the_main_display_is_a_mirror_slave) {
    boot(scene({R"({ "id": 1, "main": true, "profilerName": "A" },
                  { "id": 2, "mirrors": 1, "profilerName": "B" }, { "id": 3, "profilerName": "C" },
                  { "id": 4, "mirrors": 3, "profilerName": "D" })"}));
    const auto displays = list();
    ASSERT_EQ(displays.size(), 4u);
    EXPECT_FALSE(displays[0].isMirrorSlave);
    EXPECT_TRUE(displays[1].isMirrorSlave);
    EXPECT_TRUE(displays[2].isMirrorSlave); // drives its set, but is not the main display
    EXPECT_TRUE(displays[3].isMirrorSlave);
}

TEST_F(DisplayStoreTest, built_in_and_main_are_flagged) {
    boot();
    const auto displays = list();
    EXPECT_TRUE(displays[0].isBuiltIn);
    EXPECT_TRUE(displays[0].isMain);
    EXPECT_FALSE(displays[1].isBuiltIn);
    EXPECT_FALSE(displays[1].isMain);
}

TEST_F(DisplayStoreTest, at_most_32_online_displays_are_listed) {
    for (const int online : {16, 17, 31, 32, 33, 63, 64}) {
        boot(scene({numberedDisplays(online)}));
        EXPECT_EQ(listedInOrderOfID(), upTo(std::min(online, 32))) << online;
        EXPECT_EQ(calls({"CGGetOnlineDisplayList"})[0], "CGGetOnlineDisplayList(32) = 0");
    }
}

TEST_F(DisplayStoreTest, a_disconnected_display_is_listed_beside_32_online_ones) {
    boot(scene({numberedDisplays(32), R"({ "id": 33, "enabled": false })"}, {remembered("[33]")}));
    const auto displays = list();
    ASSERT_EQ(displays.size(), 33u);
    EXPECT_EQ(displays.back().id, 33u);
    EXPECT_TRUE(displays.back().isDisconnected);
}

TEST_F(DisplayStoreTest, an_id_0_in_a_list_is_no_display) {
    for (const char* const function :
         {"CGGetOnlineDisplayList", "CGGetActiveDisplayList", "SLSGetDisplayList"}) {
        Mac& mac = boot(scene({main1, plain2}));
        mac.failCall({.call = function, .nth = 0, .list = simulated_mac::ListFault::zero});
        EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1, 2})) << function;
    }
}

TEST_F(DisplayStoreTest, a_remembered_id_0_is_listed_only_where_skylight_knows_it) {
    Mac& mac = boot(scene({main1, plain2}, {remembered("[0]")}));
    mac.failCall({.call = "SLSGetDisplayList", .nth = 0, .list = simulated_mac::ListFault::zero});
    const auto displays = list();
    ASSERT_EQ(displays.size(), 3u);
    EXPECT_EQ(displays[2].id, 0u);
    EXPECT_TRUE(displays[2].isDisconnected);
    mac.clearFaults();
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1, 2}));
}

TEST_F(DisplayStoreTest, the_largest_id_is_listed_like_any_other) {
    boot(scene({main1, R"({ "id": 4294967295, "screenName": "Last" })",
                R"({ "id": 4294967294, "enabled": false })"},
               {remembered("[0, 4294967294, 4294967295]")}));
    EXPECT_EQ(listedIDs(), (std::vector<CGDirectDisplayID>{1, 4294967295, 4294967294}));
    EXPECT_EQ(nameOf(4294967295), "Last");
    EXPECT_EQ(nameOf(4294967294), "显示器 4294967294");
}

TEST_F(DisplayStoreTest, every_display_costs_its_queries_afresh) {
    Mac& mac = boot(scene({main1}));
    (void)list();
    mac.clearCalls();
    (void)list();
    EXPECT_EQ(
        calls({"CGGetOnlineDisplayList", "SLSGetDisplayList", "CGDisplayIsOnline",
               "CGDisplayIsBuiltin", "CGDisplayIsMain", "CGDisplayIsInMirrorSet", "posix_spawn"}),
        (std::vector<std::string>{"CGGetOnlineDisplayList(32) = 0", "CGDisplayIsOnline(1) = 1",
                                  "SLSGetDisplayList(0) = 0", "SLSGetDisplayList(1) = 0",
                                  "CGGetOnlineDisplayList(32) = 0", "CGDisplayIsBuiltin(1) = 0",
                                  "CGDisplayIsMain(1) = 1", "CGDisplayIsInMirrorSet(1) = 0"}));
}

TEST_F(DisplayStoreTest, the_system_profiler_runs_once_with_these_arguments) {
    boot();
    (void)list();
    (void)list();
    EXPECT_EQ(calls({"posix_spawn"}),
              (std::vector<std::string>{"posix_spawn(/usr/sbin/system_profiler, "
                                        "/usr/sbin/system_profiler, SPDisplaysDataType, -json) = "
                                        "0"}));
}

TEST_F(DisplayStoreTest, a_profiler_that_cannot_be_started_is_not_tried_again) {
    Mac& mac = boot(scene({panel1}));
    mac.failCall(fails("posix_spawn").with(2));
    EXPECT_EQ(nameOf(1), "显示器 1");
    EXPECT_EQ(nameOf(1), "显示器 1");
    EXPECT_EQ(calls({"posix_spawn"}).size(), 1u);
}

TEST_F(DisplayStoreTest, a_cached_name_lasts_for_the_life_of_the_process) {
    Mac& mac = boot();
    EXPECT_EQ(nameOf(2), "Studio");
    ASSERT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_EQ(nameOf(2), "Studio");
    mac.clearCalls();
    EXPECT_EQ(nameOf(2), "Studio");
    EXPECT_TRUE(calls({"NSScreen.screens", "IOServiceMatching"}).empty());
}

struct NameRow {
    const char* name;
    const char* display; ///< members of display 2
    const char* more;
    const char* expected;

    friend void PrintTo(const NameRow& row, std::ostream* stream) { *stream << row.name; }
};

class NameSource : public SimulatedMacTest, public testing::WithParamInterface<NameRow> {};

TEST_P(NameSource, comes_in_its_place) {
    const std::string display2 =
        std::string(R"({ "id": 2, "vendor": 5, "model": 7 )") + GetParam().display + " }";
    boot(scene({main1, display2}, {GetParam().more}));
    EXPECT_EQ(nameOf(2), GetParam().expected);
}

constexpr const char* all =
    R"(, "profilerName": "Profiler", "screenName": "Screen", "registryName": "Registry")";
constexpr const char* twoNames = R"(, "screenName": "Screen", "registryName": "Registry")";

INSTANTIATE_TEST_SUITE_P(
    DisplayStore, NameSource,
    testing::Values(NameRow{"profiler_first", all, "", "Profiler"},
                    NameRow{"then_the_screen", twoNames, "", "Screen"},
                    NameRow{"an_empty_profiler_name_does_not_count",
                            R"(, "profilerName": "", "screenName": "Screen")", "", "Screen"},
                    NameRow{"no_profiler", all, R"("profiler": { "missing": true })", "Screen"},
                    NameRow{"a_profiler_that_prints_nothing", all,
                            R"("profiler": { "output": "" })", "Screen"},
                    NameRow{"a_profiler_that_prints_nonsense", all,
                            R"("profiler": { "output": "{" })", "Screen"},
                    NameRow{"then_the_registry", R"(, "registryName": "Registry")", "", "Registry"},
                    NameRow{"an_empty_screen_name_does_not_count",
                            R"(, "screenName": "", "registryName": "Registry")", "", "Registry"},
                    NameRow{"a_mirrored_display_has_no_screen",
                            R"(, "mirrors": 1, "screenName": "Screen", "registryName": "Registry")",
                            "", "Registry"},
                    NameRow{"at_last_the_id", "", "", "显示器 2"}),
    [](const auto& info) { return info.param.name; });

TEST_F(DisplayStoreTest, a_large_profiler_report_is_read_to_its_end) {
    const std::string filler(300000, 'x');
    boot(scene(
        {R"({ "id": 2, "main": true })"},
        {R"("profiler": { "output": "{\"SPDisplaysDataType\":[{\"filler\":\")" + filler +
         R"(\",\"spdisplays_ndrvs\":[{\"_name\":\"Last\",\"_spdisplays_displayID\":\"2\"}]}]}" })"}));
    EXPECT_EQ(nameOf(2), "Last");
}

TEST_F(DisplayStoreTest, the_fallback_name_depends_on_the_vendor) {
    boot(scene({R"({ "id": 25, "vendor": 25001, "main": true }, { "id": 77, "vendor": 7789 },
                  { "id": 722, "vendor": 25000 }, { "id": 4294967295 })"}));
    EXPECT_EQ(nameOf(25), "Torvik Monitor");
    EXPECT_EQ(nameOf(77), "LG 显示器");
    EXPECT_EQ(nameOf(722), "显示器 722");
    EXPECT_EQ(nameOf(4294967295), "显示器 4294967295");
}

} // namespace

} // namespace veilpane::test
