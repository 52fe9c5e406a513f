#include "Veilpane/Power/RememberedDisplays.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

namespace veilpane::test {

namespace {

using IDs = std::set<CGDirectDisplayID>;
using Lines = std::vector<std::string>;
using simulated_mac::Mac;

using RememberedDisplaysTest = SimulatedMacTest;

RememberedDisplays& memory() {
    return RememberedDisplays::shared();
}

/// The stored set as JSON; "null" when nothing is stored.
std::string stored(Mac& mac) {
    return mac.storedDefaults()["Veilpane.disconnectedDisplayIDs"].dump();
}

TEST_F(RememberedDisplaysTest, nothing_is_remembered_at_first_and_asking_stores_nothing) {
    Mac& mac = boot();
    EXPECT_FALSE(memory().contains(2));
    EXPECT_EQ(memory().all(), IDs());
    EXPECT_EQ(stored(mac), "null");
}

TEST_F(RememberedDisplaysTest, a_remembered_display_is_stored_until_it_is_forgotten) {
    Mac& mac = boot();
    memory().remember(2);
    EXPECT_TRUE(memory().contains(2));
    EXPECT_FALSE(memory().contains(3));
    EXPECT_EQ(stored(mac), "[2]");
    memory().forget(2);
    EXPECT_FALSE(memory().contains(2));
    EXPECT_EQ(stored(mac), "[]");
}

TEST_F(RememberedDisplaysTest, displays_are_stored_in_order_of_id) {
    Mac& mac = boot();
    for (const CGDirectDisplayID id : {3U, 4294967295U, 0U, 2U}) {
        memory().remember(id);
    }
    EXPECT_EQ(memory().all(), (IDs{0, 2, 3, 4294967295}));
    EXPECT_EQ(stored(mac), "[0,2,3,4294967295]");
}

TEST_F(RememberedDisplaysTest, remembering_one_twice_stores_it_once_in_two_writes) {
    Mac& mac = boot();
    memory().remember(2);
    memory().remember(2);
    EXPECT_EQ(memory().all(), IDs{2});
    EXPECT_EQ(stored(mac), "[2]");
    EXPECT_EQ(calls({"NSUserDefaults.setObject"}).size(), 2u);
}

TEST_F(RememberedDisplaysTest, forgetting_what_is_not_in_the_set_stores_it_all_the_same) {
    Mac& mac = boot();
    memory().remember(2);
    mac.clearCalls();
    memory().forget(3);
    EXPECT_EQ(memory().all(), IDs{2});
    EXPECT_EQ(calls(), Lines{"NSUserDefaults.setObject([2], Veilpane.disconnectedDisplayIDs)"});
}

TEST_F(RememberedDisplaysTest, the_set_is_written_without_a_synchronise) {
    boot();
    memory().remember(2);
    EXPECT_EQ(calls({"NSUserDefaults.setObject"}).size(), 1u);
    EXPECT_TRUE(calls({"NSUserDefaults.synchronize"}).empty());
}

TEST_F(RememberedDisplaysTest, what_is_not_kept_stays_stored_until_the_next_change) {
    Mac& mac = boot(scene({main1}, {remembered("[2, 3, 9]")}));
    memory().keepOnly([](CGDirectDisplayID id) { return id == 3; });
    EXPECT_EQ(memory().all(), IDs{3});
    EXPECT_TRUE(calls({"NSUserDefaults.setObject"}).empty());
    EXPECT_EQ(stored(mac), "[2,3,9]");
    memory().remember(7);
    EXPECT_EQ(stored(mac), "[3,7]");
}

TEST_F(RememberedDisplaysTest, a_change_keeps_stale_ids_that_were_never_looked_at) {
    Mac& mac = boot(scene({main1, plain2}, {remembered("[9, 4294967295]")}));
    memory().remember(2);
    EXPECT_EQ(stored(mac), "[2,9,4294967295]");
}

struct FirstUse {
    const char* name;
    std::function<void()> use;
    IDs left;

    friend void PrintTo(const FirstUse& row, std::ostream* stream) { *stream << row.name; }
};

class FirstUseOfTheMemory : public SimulatedMacTest,
                            public testing::WithParamInterface<FirstUse> {};

TEST_P(FirstUseOfTheMemory, reads_what_is_stored_and_no_other_use_does) {
    Mac& mac = boot(scene({main1}, {remembered("[2, 3]")}));
    GetParam().use();
    EXPECT_EQ(calls({"NSUserDefaults.arrayForKey"}),
              Lines{"NSUserDefaults.arrayForKey(Veilpane.disconnectedDisplayIDs) = [2,3]"});
    // As another process might do it.
    mac.storeDefaults({{"Veilpane.disconnectedDisplayIDs", {8}}});
    mac.clearCalls();
    EXPECT_EQ(memory().all(), GetParam().left);
    EXPECT_FALSE(memory().contains(8));
    memory().keepOnly([](CGDirectDisplayID) { return true; });
    memory().remember(2);
    memory().forget(2);
    EXPECT_TRUE(calls({"NSUserDefaults.arrayForKey"}).empty());
}

INSTANTIATE_TEST_SUITE_P(
    RememberedDisplays, FirstUseOfTheMemory,
    testing::Values(FirstUse{"contains", [] { EXPECT_TRUE(memory().contains(3)); }, {2, 3}},
                    FirstUse{"all", [] { EXPECT_EQ(memory().all(), (IDs{2, 3})); }, {2, 3}},
                    FirstUse{"remember", [] { memory().remember(4); }, {2, 3, 4}},
                    FirstUse{"forget", [] { memory().forget(3); }, {2}},
                    FirstUse{"keep_only",
                             [] { memory().keepOnly([](CGDirectDisplayID id) { return id > 2; }); },
                             {3}}),
    [](const auto& info) { return info.param.name; });

struct StoredSet {
    const char* name;
    const char* json;
    IDs displays;

    friend void PrintTo(const StoredSet& row, std::ostream* stream) { *stream << row.name; }
};

class UntrustworthyStoredSet : public SimulatedMacTest,
                               public testing::WithParamInterface<StoredSet> {};

TEST_P(UntrustworthyStoredSet, is_ignored_as_a_whole_for_the_life_of_the_process) {
    Mac& mac = boot(scene({main1, disabled2}, {remembered(GetParam().json)}));
    EXPECT_FALSE(memory().contains(2));
    EXPECT_EQ(memory().all(), IDs());
    mac.storeDefaults({{"Veilpane.disconnectedDisplayIDs", {2}}});
    EXPECT_FALSE(memory().contains(2));
}

INSTANTIATE_TEST_SUITE_P(RememberedDisplays, UntrustworthyStoredSet,
                         testing::Values(StoredSet{"a_text_among_numbers", "[2, \"3\"]", {}},
                                         StoredSet{"a_negative_number", "[2, -1]", {}},
                                         StoredSet{"a_fraction", "[2, 2.5]", {}},
                                         StoredSet{"above_32_bits", "[2, 4294967296]", {}},
                                         StoredSet{"an_array_in_the_array", "[2, [3]]", {}},
                                         StoredSet{"a_text", "\"2\"", {}},
                                         StoredSet{"a_number", "2", {}},
                                         StoredSet{"a_dictionary", "{ \"2\": 2 }", {}},
                                         StoredSet{"an_empty_array", "[]", {}}),
                         [](const auto& info) { return info.param.name; });

class TrustworthyStoredSet : public SimulatedMacTest,
                             public testing::WithParamInterface<StoredSet> {};

TEST_P(TrustworthyStoredSet, is_taken_over) {
    boot(scene({main1, disabled2}, {remembered(GetParam().json)}));
    EXPECT_TRUE(memory().contains(2));
    EXPECT_EQ(memory().all(), GetParam().displays);
}

INSTANTIATE_TEST_SUITE_P(RememberedDisplays, TrustworthyStoredSet,
                         testing::Values(StoredSet{"one_number", "[2]", {2}},
                                         // A boolean of a property list is a number, 1 or 0.
                                         StoredSet{"true_and_false", "[true, false, 2]", {0, 1, 2}},
                                         StoredSet{"a_whole_floating_point_number", "[2.0]", {2}},
                                         StoredSet{"the_range_and_one_twice",
                                                   "[4294967295, 0, 2, 2]",
                                                   {0, 2, 4294967295}}),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace veilpane::test
