#include "Veilpane/Power/DisplayDisconnect.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

namespace veilpane::test {

namespace {

using simulated_mac::Mac;
using Reason = DisconnectError::Reason;

using DisplayDisconnectTest = SimulatedMacTest;

const std::vector<std::string> transactionCalls = {
    "CGBeginDisplayConfiguration", "SLSConfigureDisplayEnabled", "CGCancelDisplayConfiguration",
    "CGCompleteDisplayConfiguration", "NSUserDefaults.setObject"};

std::string sceneWith(std::initializer_list<std::string_view> more) {
    return scene({main1, plain2, plain3}, more);
}

TEST_F(DisplayDisconnectTest, every_error_has_its_text) {
    const std::vector<std::pair<DisconnectError, std::string>> rows = {
        {{Reason::configFailed, 1001}, "显示配置失败 CGError 1001"},
        {{Reason::configFailed, -3}, "显示配置失败 CGError -3"},
        {{Reason::slsFailed, 1000}, "SLSConfigureDisplayEnabled 失败 CGError 1000"},
        {{Reason::unavailable},
         "SLSConfigureDisplayEnabled 不可用（需要 Apple Silicon + SkyLight）"},
        {{Reason::wouldLeaveNoDisplay}, "拒绝断开：会没有可用显示器"},
        {{Reason::mainDisplayForbidden}, "主屏禁止关闭"},
    };
    for (const auto& [error, text] : rows) {
        EXPECT_EQ(error.description(), text);
    }
}

TEST_F(DisplayDisconnectTest, a_disconnected_display_leaves_the_online_list_and_is_remembered) {
    Mac& mac = boot();
    EXPECT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_FALSE(mac.display(2).online);
    EXPECT_TRUE(DisplayDisconnect::isSoftDisconnected(2));
    EXPECT_TRUE(DisplayDisconnect::isDisconnectedByUs(2));
    EXPECT_EQ(DisplayDisconnect::ourDisconnectedIDs(), std::set<CGDirectDisplayID>{2});
    EXPECT_EQ(mac.storedDefaults().dump(), R"({"Veilpane.disconnectedDisplayIDs":[2]})");
    EXPECT_TRUE(DisplayDisconnect::setEnabled(true, 2));
    EXPECT_TRUE(mac.display(2).online);
    EXPECT_FALSE(DisplayDisconnect::isSoftDisconnected(2));
    EXPECT_EQ(mac.storedDefaults().dump(), R"({"Veilpane.disconnectedDisplayIDs":[]})");
}

TEST_F(DisplayDisconnectTest, the_change_is_one_permanent_transaction) {
    Mac& mac = boot();
    EXPECT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_EQ(calls(transactionCalls),
              (std::vector<std::string>{"CGBeginDisplayConfiguration() = 0",
                                        "SLSConfigureDisplayEnabled(1, 2, false) = 0",
                                        "CGCompleteDisplayConfiguration(1, 2) = 0",
                                        "NSUserDefaults.setObject([2], "
                                        "Veilpane.disconnectedDisplayIDs)"}));
    mac.reboot();
    EXPECT_FALSE(mac.display(2).online);
}

TEST_F(DisplayDisconnectTest, skylight_is_opened_anew_each_time_and_never_closed) {
    boot();
    EXPECT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_TRUE(DisplayDisconnect::setEnabled(true, 2));
    EXPECT_EQ(calls({"dlopen"}).size(), 2u);
    EXPECT_EQ(calls({"dlopen"})[0],
              "dlopen(/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight, 1) = true");
    EXPECT_TRUE(calls({"dlclose"}).empty());
}

struct FailureRow {
    const char* name;
    std::string more;
    Reason reason;
    std::int32_t code;
    std::vector<std::string> calls;

    friend void PrintTo(const FailureRow& row, std::ostream* stream) { *stream << row.name; }
};

class DisconnectFailure : public SimulatedMacTest,
                          public testing::WithParamInterface<FailureRow> {};

TEST_P(DisconnectFailure, is_told_and_changes_nothing) {
    Mac& mac = boot(sceneWith({GetParam().more}));
    const auto result = DisplayDisconnect::setEnabled(false, 2);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (DisconnectError{GetParam().reason, GetParam().code}));
    EXPECT_EQ(calls(transactionCalls), GetParam().calls);
    EXPECT_TRUE(mac.display(2).online);
    EXPECT_EQ(mac.storedDefaults().dump(), "{}");
    EXPECT_TRUE(DisplayDisconnect::ourDisconnectedIDs().empty());
}

INSTANTIATE_TEST_SUITE_P(
    DisplayDisconnect, DisconnectFailure,
    testing::Values(
        FailureRow{"no_skylight", std::string(noSkyLight), Reason::unavailable, 0, {}},
        FailureRow{"no_function", std::string(onlySkyLightsList), Reason::unavailable, 0, {}},
        FailureRow{"begin_fails",
                   faults({fails("CGBeginDisplayConfiguration").with(1004)}),
                   Reason::configFailed,
                   1004,
                   {"CGBeginDisplayConfiguration() = 1004"}},
        FailureRow{"begin_succeeds_with_null",
                   faults({fails("CGBeginDisplayConfiguration").withNull()}),
                   Reason::configFailed,
                   0,
                   {"CGBeginDisplayConfiguration() = 0"}},
        FailureRow{"skylight_refuses",
                   faults({fails("SLSConfigureDisplayEnabled").with(1001)}),
                   Reason::slsFailed,
                   1001,
                   {"CGBeginDisplayConfiguration() = 0",
                    "SLSConfigureDisplayEnabled(1, 2, false) = 1001",
                    "CGCancelDisplayConfiguration(1) = 0"}},
        FailureRow{"permanent_completion_and_second_begin_fail",
                   faults({fails("CGCompleteDisplayConfiguration").with(1000),
                           fails("CGBeginDisplayConfiguration").nth(2).with(1002)}),
                   Reason::configFailed,
                   1000,
                   {"CGBeginDisplayConfiguration() = 0",
                    "SLSConfigureDisplayEnabled(1, 2, false) = 0",
                    "CGCompleteDisplayConfiguration(1, 2) = 1000",
                    "CGBeginDisplayConfiguration() = 1002"}},
        FailureRow{
            "permanent_completion_fails_and_second_begin_gives_null",
            faults({fails("CGCompleteDisplayConfiguration").with(1000),
                    fails("CGBeginDisplayConfiguration").nth(2).withNull()}),
            Reason::configFailed,
            1000,
            {"CGBeginDisplayConfiguration() = 0", "SLSConfigureDisplayEnabled(1, 2, false) = 0",
             "CGCompleteDisplayConfiguration(1, 2) = 1000", "CGBeginDisplayConfiguration() = 0"}},
        FailureRow{
            "skylight_refuses_the_second_time",
            faults({fails("CGCompleteDisplayConfiguration").with(1000),
                    fails("SLSConfigureDisplayEnabled").nth(2).with(1010)}),
            Reason::slsFailed,
            1010,
            {"CGBeginDisplayConfiguration() = 0", "SLSConfigureDisplayEnabled(1, 2, false) = 0",
             "CGCompleteDisplayConfiguration(1, 2) = 1000", "CGBeginDisplayConfiguration() = 0",
             "SLSConfigureDisplayEnabled(2, 2, false) = 1010",
             "CGCancelDisplayConfiguration(2) = 0"}},
        FailureRow{
            "a_failed_session_completion_is_cancelled_once",
            faults({fails("CGCompleteDisplayConfiguration").with(1000),
                    fails("CGCompleteDisplayConfiguration").nth(2).with(1011)}),
            Reason::configFailed,
            1011,
            {"CGBeginDisplayConfiguration() = 0", "SLSConfigureDisplayEnabled(1, 2, false) = 0",
             "CGCompleteDisplayConfiguration(1, 2) = 1000", "CGBeginDisplayConfiguration() = 0",
             "SLSConfigureDisplayEnabled(2, 2, false) = 0",
             "CGCompleteDisplayConfiguration(2, 1) = 1011",
             "CGCancelDisplayConfiguration(2) = 1001"}}),
    [](const auto& info) { return info.param.name; });

TEST_F(DisplayDisconnectTest, a_session_change_stands_in_for_a_refused_permanent_one) {
    Mac& mac = boot(sceneWith({faults({fails("CGCompleteDisplayConfiguration").with(1000)})}));
    EXPECT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_EQ(calls(transactionCalls),
              (std::vector<std::string>{"CGBeginDisplayConfiguration() = 0",
                                        "SLSConfigureDisplayEnabled(1, 2, false) = 0",
                                        "CGCompleteDisplayConfiguration(1, 2) = 1000",
                                        "CGBeginDisplayConfiguration() = 0",
                                        "SLSConfigureDisplayEnabled(2, 2, false) = 0",
                                        "CGCompleteDisplayConfiguration(2, 1) = 0",
                                        "NSUserDefaults.setObject([2], "
                                        "Veilpane.disconnectedDisplayIDs)"}));
    EXPECT_TRUE(DisplayDisconnect::isDisconnectedByUs(2));
    mac.logOut();
    EXPECT_TRUE(mac.display(2).online);
    EXPECT_FALSE(DisplayDisconnect::isDisconnectedByUs(2));
}

TEST_F(DisplayDisconnectTest, disconnecting_twice_and_reconnecting_a_connected_one_succeed) {
    Mac& mac = boot();
    EXPECT_TRUE(DisplayDisconnect::setEnabled(true, 3));
    EXPECT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_EQ(calls({"NSUserDefaults.setObject"}).size(), 3u);
    EXPECT_EQ(mac.storedDefaults()["Veilpane.disconnectedDisplayIDs"].dump(), "[2]");
}

TEST_F(DisplayDisconnectTest, all_displays_are_counted_and_then_fetched) {
    Mac& mac = boot();
    ASSERT_TRUE(DisplayDisconnect::setEnabled(false, 3));
    mac.clearCalls();
    EXPECT_EQ(DisplayDisconnect::allDisplayIDs(), (std::vector<CGDirectDisplayID>{1, 2, 3}));
    EXPECT_EQ(calls({"SLSGetDisplayList", "CGGetOnlineDisplayList"}),
              (std::vector<std::string>{"SLSGetDisplayList(0) = 0", "SLSGetDisplayList(3) = 0"}));
}

TEST_F(DisplayDisconnectTest, up_to_63_known_displays_are_believed) {
    boot(scene({numberedDisplays(63)}));
    EXPECT_EQ(DisplayDisconnect::allDisplayIDs().size(), 63u);
    boot(scene({numberedDisplays(64)}));
    EXPECT_EQ(DisplayDisconnect::allDisplayIDs().size(), 32u);
    EXPECT_EQ(
        calls({"SLSGetDisplayList", "CGGetOnlineDisplayList"}),
        (std::vector<std::string>{"SLSGetDisplayList(0) = 0", "CGGetOnlineDisplayList(32) = 0"}));
}

TEST_F(DisplayDisconnectTest, the_online_list_stands_in_where_skylight_cannot_tell) {
    const std::vector<std::string> rows = {
        std::string(noSkyLight),
        std::string(onlySkyLightsSwitch),
        faults({fails("SLSGetDisplayList").with(1000)}),
        faults({fails("SLSGetDisplayList").withNull()}),
    };
    for (const auto& row : rows) {
        boot(sceneWith({row}));
        EXPECT_EQ(DisplayDisconnect::allDisplayIDs(), (std::vector<CGDirectDisplayID>{1, 2, 3}))
            << row;
        EXPECT_EQ(calls({"CGGetOnlineDisplayList"}).size(), 1u) << row;
    }
}

TEST_F(DisplayDisconnectTest, a_failed_second_list_call_gives_nothing) {
    boot(sceneWith({faults({fails("SLSGetDisplayList").nth(2).with(1)})}));
    EXPECT_TRUE(DisplayDisconnect::allDisplayIDs().empty());
    EXPECT_TRUE(calls({"CGGetOnlineDisplayList"}).empty());
}

TEST_F(DisplayDisconnectTest, nothing_is_known_when_the_online_list_fails_too) {
    boot(sceneWith({noSkyLight, faults({fails("CGGetOnlineDisplayList").with(1000)})}));
    EXPECT_TRUE(DisplayDisconnect::allDisplayIDs().empty());
}

TEST_F(DisplayDisconnectTest, a_known_display_counts_as_off_when_the_online_list_fails) {
    Mac& mac = boot();
    mac.failCall(fails("CGGetOnlineDisplayList").every().with(1000));
    EXPECT_TRUE(DisplayDisconnect::isSoftDisconnected(2));
    EXPECT_FALSE(DisplayDisconnect::isSoftDisconnected(99));
}

TEST_F(DisplayDisconnectTest, a_display_disconnected_by_someone_else_is_off_but_not_ours) {
    boot(scene({main1, disabled2}));
    EXPECT_TRUE(DisplayDisconnect::isSoftDisconnected(2));
    EXPECT_FALSE(DisplayDisconnect::isDisconnectedByUs(2));
    EXPECT_TRUE(DisplayDisconnect::ourDisconnectedIDs().empty());
}

TEST_F(DisplayDisconnectTest, a_display_that_is_not_in_our_set_costs_no_query) {
    boot();
    EXPECT_FALSE(DisplayDisconnect::isDisconnectedByUs(2));
    EXPECT_EQ(calls(), (std::vector<std::string>{
                           "NSUserDefaults.arrayForKey(Veilpane.disconnectedDisplayIDs)"}));
}

TEST_F(DisplayDisconnectTest, an_unplugged_display_is_not_off_even_when_it_is_remembered) {
    Mac& mac = boot();
    ASSERT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    mac.unplug(2);
    EXPECT_FALSE(DisplayDisconnect::isSoftDisconnected(2));
    EXPECT_FALSE(DisplayDisconnect::isDisconnectedByUs(2));
    mac.plug(2);
    EXPECT_FALSE(DisplayDisconnect::isDisconnectedByUs(2));
}

TEST_F(DisplayDisconnectTest, forgetting_in_memory_leaves_the_stored_set_until_the_next_change) {
    Mac& mac =
        boot(scene({main1, plain2, R"({ "id": 3, "enabled": false })"}, {remembered("[2, 3, 9]")}));
    EXPECT_EQ(DisplayDisconnect::ourDisconnectedIDs(), std::set<CGDirectDisplayID>{3});
    EXPECT_EQ(mac.storedDefaults()["Veilpane.disconnectedDisplayIDs"].dump(), "[2,3,9]");
    ASSERT_TRUE(DisplayDisconnect::setEnabled(false, 2));
    EXPECT_EQ(mac.storedDefaults()["Veilpane.disconnectedDisplayIDs"].dump(), "[2,3]");
}

TEST_F(DisplayDisconnectTest, a_stored_display_that_is_off_is_ours) {
    boot(scene({main1, disabled2}, {remembered("[2]")}));
    EXPECT_TRUE(DisplayDisconnect::isDisconnectedByUs(2));
}

TEST_F(DisplayDisconnectTest, an_untrustworthy_stored_set_makes_no_display_ours) {
    boot(scene({main1, disabled2}, {remembered(R"([2, "3"])")}));
    EXPECT_FALSE(DisplayDisconnect::isDisconnectedByUs(2));
}

TEST_F(DisplayDisconnectTest, the_stored_set_is_read_once) {
    boot();
    (void)DisplayDisconnect::isDisconnectedByUs(2);
    (void)DisplayDisconnect::ourDisconnectedIDs();
    (void)DisplayDisconnect::isDisconnectedByUs(3);
    EXPECT_EQ(calls({"NSUserDefaults.arrayForKey"}).size(), 1u);
}

} // namespace

} // namespace veilpane::test
