#include "Veilpane/Power/DisplayPower.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayDisconnect.h"

#include <functional>

namespace veilpane::test {

namespace {

using simulated_mac::Mac;
using enum PowerMethod;

using DisplayPowerTest = SimulatedMacTest;

TEST_F(DisplayPowerTest, every_mechanism_has_its_title) {
    EXPECT_EQ(title(disconnect), "断开显示器（SLS）");
    EXPECT_EQ(title(ddc), "DDC 硬件电源");
    EXPECT_EQ(title(blackout), "BlackOut（镜像+Gamma）");
}

struct OutcomeRow {
    const char* name;
    std::string scene;
    std::function<void()> before; ///< brings the Mac into the row's situation
    bool on;
    CGDirectDisplayID display;
    PowerResult result;

    friend void PrintTo(const OutcomeRow& row, std::ostream* stream) { *stream << row.name; }
};

void nothing() {}
void disconnect2() {
    ASSERT_TRUE(DisplayDisconnect::setEnabled(false, 2));
}
void blackOut2() {
    BlackoutController::shared().blackout(2);
}
void blackOutAndDisconnect2() {
    blackOut2();
    disconnect2();
}

class Outcome : public SimulatedMacTest, public testing::WithParamInterface<OutcomeRow> {};

TEST_P(Outcome, is_the_one_of_its_row) {
    boot(GetParam().scene);
    GetParam().before();
    EXPECT_EQ(DisplayPower::setPower(GetParam().on, GetParam().display), GetParam().result);
}

const std::vector<OutcomeRow> outcomeRows = {
    {"off_main_display",
     scene({main1, ddc2}),
     nothing,
     false,
     1,
     {disconnect, false, "主屏禁止关闭，已阻止"}},
    {"off_already_disconnected",
     scene({main1, plain2}),
     disconnect2,
     false,
     2,
     {disconnect, true, "显示器已断开"}},
    {"on_reconnect_worked",
     scene({main1, plain2}),
     disconnect2,
     true,
     2,
     {disconnect, true, "已重新连接显示器"}},
    {"on_reconnect_failed",
     scene({main1, plain2}, {faults({fails("SLSConfigureDisplayEnabled").nth(2).with(1001)})}),
     disconnect2,
     true,
     2,
     {disconnect, false, "重连失败：SLSConfigureDisplayEnabled 失败 CGError 1001"}},
    {"on_reconnect_without_the_function",
     scene({main1, disabled2}, {onlySkyLightsList, remembered("[2]")}),
     nothing,
     true,
     2,
     {disconnect, false,
      "重连失败：SLSConfigureDisplayEnabled 不可用（需要 Apple Silicon + SkyLight）"}},
    {"on_under_blackout",
     scene({main1, ddc2}),
     blackOut2,
     true,
     2,
     {blackout, true, "已解除 BlackOut，显示器恢复显示"}},
    {"on_disconnected_although_blacked_out",
     scene({main1, ddc2}),
     blackOutAndDisconnect2,
     true,
     2,
     {disconnect, true, "已重新连接显示器"}},
    {"on_enable_worked",
     scene({main1, plain2}),
     nothing,
     true,
     2,
     {disconnect, true, "已重新连接显示器（SLS）"}},
    {"on_main_display",
     scene({main1, plain2}),
     nothing,
     true,
     1,
     {disconnect, true, "已重新连接显示器（SLS）"}},
    {"on_enable_failed",
     scene({main1, plain2}, {refusedBySkyLight()}),
     nothing,
     true,
     2,
     {blackout, true,
      "SLS 重连失败（SLSConfigureDisplayEnabled 失败 CGError 1001），已恢复软件显示"}},
    {"on_without_skylight",
     scene({main1, plain2}, {noSkyLight}),
     nothing,
     true,
     2,
     {blackout, true, "已恢复显示"}},
    {"off_last_active_display",
     scene({main1}, {faults({fails("CGDisplayIsMain").every().with(0)})}),
     nothing,
     false,
     1,
     {disconnect, false, "拒绝断开：只剩这一台活动显示器"}},
    {"off_active_list_fails",
     scene({main1, plain2}, {faults({fails("CGGetActiveDisplayList").with(1000)})}),
     nothing,
     false,
     2,
     {disconnect, false, "拒绝断开：只剩这一台活动显示器"}},
    {"off_disconnect_worked",
     scene({main1, plain2}),
     nothing,
     false,
     2,
     {disconnect, true, "已断开显示器（SLS，系统设置中将消失）"}},
    {"off_disconnect_failed_ddc_sent",
     scene({main1, ddc2}, {refusedBySkyLight()}),
     nothing,
     false,
     2,
     {ddc, true,
      "SLS 断开失败（SLSConfigureDisplayEnabled 失败 CGError 1001），改用DDC 硬件电源："
      "DDC 已发送 Power Off"}},
    {"off_disconnect_failed_blackout_took",
     scene({main1, plain2}, {refusedBySkyLight()}),
     nothing,
     false,
     2,
     {blackout, true,
      "SLS 断开失败（SLSConfigureDisplayEnabled 失败 CGError 1001），改用BlackOut（镜像+Gamma）："
      "BlackOut：镜像 + Gamma 归零（软件兜底）"}},
    {"off_disconnect_failed_ddc_failed_blackout_took",
     scene({main1, mute2}, {refusedBySkyLight()}),
     nothing,
     false,
     2,
     {blackout, true,
      "SLS 断开失败（SLSConfigureDisplayEnabled 失败 CGError 1001），改用BlackOut（镜像+Gamma）："
      "DDC 失败（DDC 发送失败 (code 4)），改用BlackOut：镜像 + Gamma 归零（软件兜底）"}},
    {"off_without_skylight_ddc_sent",
     scene({main1, ddc2}, {noSkyLight}),
     nothing,
     false,
     2,
     {ddc, true, "DDC 已发送 Power Off"}},
    {"off_without_skylight_ddc_failed",
     scene({main1, locked2}, {noSkyLight}),
     nothing,
     false,
     2,
     {blackout, true, "DDC 失败（打开 I2C 失败），改用BlackOut：镜像 + Gamma 归零（软件兜底）"}},
    {"off_without_skylight_no_ddc",
     scene({main1, plain2}, {noSkyLight}),
     nothing,
     false,
     2,
     {blackout, true, "BlackOut：镜像 + Gamma 归零（软件兜底）"}},
    {"off_under_blackout_without_skylight",
     scene({main1, ddc2}, {noSkyLight}),
     blackOut2,
     false,
     2,
     {ddc, true, "DDC 已发送 Power Off"}},
    {"off_only_display_without_skylight_is_not_refused",
     scene({main1}, {noSkyLight, faults({fails("CGDisplayIsMain").every().with(0)})}),
     nothing,
     false,
     1,
     {blackout, true, "BlackOut：镜像 + Gamma 归零（软件兜底）"}},
};

INSTANTIATE_TEST_SUITE_P(DisplayPower, Outcome, testing::ValuesIn(outcomeRows),
                         [](const auto& info) { return info.param.name; });

TEST_F(DisplayPowerTest, the_main_display_guard_comes_before_anything_is_read) {
    boot(scene({main1, ddc2}));
    EXPECT_FALSE(DisplayPower::setPower(false, 1).success);
    EXPECT_EQ(calls(), (std::vector<std::string>{"CGDisplayIsMain(1) = 1"}));
}

TEST_F(DisplayPowerTest, switching_off_twice_changes_nothing_the_second_time) {
    Mac& mac = boot();
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    mac.clearCalls();
    EXPECT_EQ(DisplayPower::setPower(false, 2), (PowerResult{disconnect, true, "显示器已断开"}));
    EXPECT_TRUE(calls({"CGBeginDisplayConfiguration", "NSUserDefaults.setObject",
                       "CGGetActiveDisplayList", "IOI2CSendRequest"})
                    .empty());
}

TEST_F(DisplayPowerTest, hardware_mirroring_lowers_the_active_count) {
    boot(scene({main1, mirror2}));
    EXPECT_EQ(DisplayPower::setPower(false, 2).message, "拒绝断开：只剩这一台活动显示器");
    boot(scene({main1, mirror2}, {softwareMirroring}));
    EXPECT_TRUE(DisplayPower::setPower(false, 2).success);
}

TEST_F(DisplayPowerTest, at_most_16_active_displays_are_asked_for) {
    boot();
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(calls({"CGGetActiveDisplayList"}),
              (std::vector<std::string>{"CGGetActiveDisplayList(16) = 0"}));
}

TEST_F(DisplayPowerTest, the_last_of_many_displays_is_disconnected_and_reconnected) {
    for (const int online : {16, 17, 32, 33, 62, 63}) {
        Mac& mac = boot(scene({numberedDisplays(online)}));
        const auto last = static_cast<CGDirectDisplayID>(online);
        EXPECT_EQ(DisplayPower::setPower(false, last).method, disconnect) << online;
        EXPECT_FALSE(mac.display(last).lit) << online;
        EXPECT_TRUE(DisplayDisconnect::isDisconnectedByUs(last)) << online;
        EXPECT_EQ(DisplayPower::setPower(true, last).message, "已重新连接显示器") << online;
        EXPECT_TRUE(mac.display(last).lit) << online;
    }
}

TEST_F(DisplayPowerTest, the_largest_id_is_switched_like_any_other) {
    Mac& mac = boot(scene({main1, R"({ "id": 4294967295 })"}));
    EXPECT_EQ(DisplayPower::setPower(false, 4294967295).method, disconnect);
    EXPECT_FALSE(mac.display(4294967295).lit);
    EXPECT_EQ(mac.storedDefaults()["Veilpane.disconnectedDisplayIDs"].dump(), "[4294967295]");
    EXPECT_EQ(DisplayPower::statusLine(4294967295), "状态：已断开（系统设置不可见）");
    EXPECT_EQ(DisplayPower::setPower(true, 4294967295).message, "已重新连接显示器");
    EXPECT_TRUE(mac.display(4294967295).lit);
}

TEST_F(DisplayPowerTest, without_skylight_no_active_display_is_counted) {
    boot(scene({main1, ddc2}, {noSkyLight}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_TRUE(calls({"CGGetActiveDisplayList"}).empty());
}

TEST_F(DisplayPowerTest, a_display_under_blackout_is_upgraded_to_a_disconnect) {
    Mac& mac = boot(scene({main1, ddc2, plain3}));
    BlackoutController::shared().blackout(2);
    EXPECT_EQ(DisplayPower::setPower(false, 2).message, "已断开显示器（SLS，系统设置中将消失）");
    EXPECT_FALSE(BlackoutController::shared().isBlackedOut(2));
    EXPECT_TRUE(DisplayDisconnect::isDisconnectedByUs(2));
    EXPECT_FALSE(mac.display(2).online);
}

TEST_F(DisplayPowerTest, switching_on_wakes_a_monitor_that_ddc_put_in_standby) {
    Mac& mac =
        boot(scene({main1, ddc2}, {faults({fails("SLSConfigureDisplayEnabled").with(1001)})}));
    ASSERT_EQ(DisplayPower::setPower(false, 2).method, ddc);
    EXPECT_EQ(mac.display(2).power, "standby");
    EXPECT_EQ(DisplayPower::setPower(true, 2).message, "已重新连接显示器（SLS）");
    EXPECT_EQ(mac.display(2).power, "on");
}

TEST_F(DisplayPowerTest, without_skylight_switching_on_sends_no_ddc_power_on) {
    Mac& mac = boot(scene({main1, ddc2}, {noSkyLight}));
    ASSERT_EQ(DisplayPower::setPower(false, 2).method, ddc);
    mac.clearCalls();
    EXPECT_EQ(DisplayPower::setPower(true, 2).message, "已恢复显示");
    EXPECT_EQ(mac.display(2).power, "standby");
    EXPECT_TRUE(calls({"IOI2CSendRequest"}).empty());
}

TEST_F(DisplayPowerTest, a_reconnected_display_gets_no_ddc_power_on) {
    Mac& mac = boot(scene({main1, ddc2}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    mac.clearCalls();
    EXPECT_EQ(DisplayPower::setPower(true, 2).message, "已重新连接显示器");
    EXPECT_TRUE(calls({"IOI2CSendRequest"}).empty());
}

TEST_F(DisplayPowerTest, a_failed_enable_restores_the_software_display_but_sends_no_power_on) {
    Mac& mac =
        boot(scene({main1, R"({ "id": 2, "mirrors": 1, "ddc": {} })"}, {refusedBySkyLight()}));
    EXPECT_TRUE(DisplayPower::setPower(true, 2).success);
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_TRUE(calls({"IOI2CSendRequest"}).empty());
}

TEST_F(DisplayPowerTest, ending_a_blackout_wakes_the_monitor_and_ignores_its_refusal) {
    Mac& mac = boot(scene({main1, mute2}));
    BlackoutController::shared().blackout(2);
    mac.clearCalls();
    EXPECT_EQ(DisplayPower::setPower(true, 2).message, "已解除 BlackOut，显示器恢复显示");
    EXPECT_EQ(calls({"IOI2CSendRequest"}).size(), 1u);
    EXPECT_TRUE(mac.display(2).lit);
    // SkyLight is not asked for anything on this path.
    EXPECT_TRUE(calls({"SLSConfigureDisplayEnabled"}).empty());
}

TEST_F(DisplayPowerTest, skylight_is_looked_up_afresh_at_every_use) {
    Mac& mac = boot(scene({main1, plain2}));
    mac.failCall(fails("dlopen").with(0));
    EXPECT_EQ(DisplayPower::setPower(false, 2).method, blackout);
    EXPECT_EQ(DisplayPower::setPower(false, 2).method, disconnect);
}

TEST_F(DisplayPowerTest, a_display_that_became_main_during_a_failed_disconnect_is_refused) {
    for (const std::string_view second : {ddc2, plain2}) {
        Mac& mac = boot(scene({main1, second}, {refusedBySkyLight()}));
        mac.failCall(fails("CGDisplayIsMain").nth(2).with(1));
        EXPECT_EQ(DisplayPower::setPower(false, 2),
                  (PowerResult{disconnect, false, "主屏禁止关闭，已阻止"}));
        EXPECT_TRUE(calls({"IOI2CSendRequest", "CGSetDisplayTransferByTable",
                           "CGConfigureDisplayMirrorOfDisplay"})
                        .empty());
        EXPECT_TRUE(mac.display(2).lit);
    }
}

TEST_F(DisplayPowerTest, main_is_asked_again_right_after_a_failed_disconnect_and_at_no_other_time) {
    boot(scene({main1, ddc2}, {refusedBySkyLight()}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(calls({"CGDisplayIsMain", "SLSConfigureDisplayEnabled",
                     "CGCancelDisplayConfiguration", "IOI2CSendRequest"}),
              (std::vector<std::string>{"CGDisplayIsMain(2) = 0",
                                        "SLSConfigureDisplayEnabled(1, 2, false) = 1001",
                                        "CGCancelDisplayConfiguration(1) = 0",
                                        "CGDisplayIsMain(2) = 0", "IOI2CSendRequest(1, 0) = 0"}));
    boot(scene({main1, ddc2}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(calls({"CGDisplayIsMain"}).size(), 1u);
    boot(scene({main1, ddc2}, {noSkyLight}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(calls({"CGDisplayIsMain"}).size(), 1u);
}

TEST_F(DisplayPowerTest, every_mechanism_is_tried_once) {
    boot(scene({main1, mute2}, {refusedBySkyLight()}));
    ASSERT_TRUE(DisplayPower::setPower(false, 2).success);
    EXPECT_EQ(calls({"SLSConfigureDisplayEnabled"}).size(), 1u);
    // One power-off, one brightness of the BlackOut.
    EXPECT_EQ(calls({"IOI2CSendRequest"}).size(), 2u);
}

struct StatusRow {
    const char* name;
    std::string scene;
    std::function<void()> before;
    CGDirectDisplayID display;
    const char* line;

    friend void PrintTo(const StatusRow& row, std::ostream* stream) { *stream << row.name; }
};

void blackOut1() {
    BlackoutController::shared().blackout(1);
}

class StatusLine : public SimulatedMacTest, public testing::WithParamInterface<StatusRow> {};

TEST_P(StatusLine, is_the_one_of_its_row) {
    boot(GetParam().scene);
    GetParam().before();
    EXPECT_EQ(DisplayPower::statusLine(GetParam().display), GetParam().line);
}

const std::vector<StatusRow> statusRows = {
    {"disconnected", scene({main1, plain2}), disconnect2, 2, "状态：已断开（系统设置不可见）"},
    {"disconnected_although_blacked_out", scene({main1, plain2}), blackOutAndDisconnect2, 2,
     "状态：已断开（系统设置不可见）"},
    {"blacked_out", scene({main1, plain2}), blackOut2, 2, "状态：软件关屏中"},
    {"main_display_blacked_out", scene({main1, plain2}, {softwareMirroring}), blackOut1, 1,
     "状态：软件关屏中"},
    {"main_display", scene({main1, ddc2}), nothing, 1, "状态：主屏 · 始终开启"},
    {"main_display_without_skylight", scene({main1, ddc2}, {noSkyLight}), nothing, 1,
     "状态：主屏 · 始终开启"},
    {"main_display_with_ddc_without_skylight",
     scene({R"({ "id": 1, "main": true, "ddc": {} })", plain2}, {noSkyLight}), nothing, 1,
     "状态：主屏 · 始终开启"},
    {"skylight", scene({main1, ddc2}), nothing, 2, "状态：可 SLS 断开"},
    {"skylight_for_an_unknown_display", scene({main1, ddc2}), nothing, 99, "状态：可 SLS 断开"},
    {"ddc", scene({main1, ddc2}, {noSkyLight}), nothing, 2, "状态：DDC 可用"},
    {"only_blackout", scene({main1, plain2}, {noSkyLight}), nothing, 2, "状态：仅软件 BlackOut"},
};

INSTANTIATE_TEST_SUITE_P(DisplayPower, StatusLine, testing::ValuesIn(statusRows),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace veilpane::test
