#include "EndToEnd/ProgramRun.h"
#include "Support/Scenes.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

const std::string panel = "- id=1 name=Panel main=true ddc=false disconnected=false\n"
                          "  状态：主屏 · 始终开启\n";

std::string header(const std::string& supported, int displays) {
    return "Veilpane self-test\nSLS disconnect supported: " + supported +
           "\nDisplays: " + std::to_string(displays) + "\n";
}

const std::string skipped = "SKIP: no non-main display to disconnect\nOK: guards in place\n";

TEST(SelfTestCommand, passes_with_a_working_disconnect) {
    const MacOnDisk mac(scene({panel1, ddcStudio2}));
    EXPECT_EQ(mac.veilpane({"--selftest"}),
              quiet(0, header("true", 2) + panel +
                           "- id=2 name=Studio main=false ddc=true disconnected=false\n"
                           "  状态：可 SLS 断开\n"
                           "testing SLS disconnect/reconnect on id=2 Studio ...\n"
                           "off: method=断开显示器（SLS） success=true "
                           "已断开显示器（SLS，系统设置中将消失）\n"
                           "is_off_state=true\n"
                           "on: method=断开显示器（SLS） success=true 已重新连接显示器\n"
                           "is_on_state=true\n"
                           "OK: power path works (disconnect preferred)\n"));
    EXPECT_NE(mac.macsim({"show"}).output.find("lit"), std::string::npos);
}

TEST(SelfTestCommand, reports_only_the_guards_with_one_display) {
    const MacOnDisk mac(scene({panel1}));
    EXPECT_EQ(mac.veilpane({"--selftest"}), quiet(0, header("true", 1) + panel + skipped));
}

TEST(SelfTestCommand, chooses_the_first_display_of_the_list_that_can_be_switched) {
    const MacOnDisk mac(scene({right3, left2, panel1}));
    const std::string output = mac.veilpane({"--selftest"}).output;
    EXPECT_NE(output.find("testing SLS disconnect/reconnect on id=2 Left ...\n"), std::string::npos)
        << output;
}

TEST(SelfTestCommand, never_chooses_a_disconnected_display) {
    const MacOnDisk mac(scene({panel1, disabledStudio2}, {remembered("[2]")}));
    EXPECT_EQ(mac.veilpane({"--selftest"}),
              quiet(0, header("true", 2) + panel +
                           "- id=2 name=显示器 2 main=false ddc=false disconnected=true\n"
                           "  状态：已断开（系统设置不可见）\n" +
                           skipped));
}

TEST(SelfTestCommand, switches_nothing_without_skylight) {
    const MacOnDisk mac(scene({panel1, ddcStudio2}, {noSkyLight}));
    EXPECT_EQ(mac.veilpane({"--selftest"}),
              quiet(0, header("false", 2) + panel +
                           "- id=2 name=Studio main=false ddc=true disconnected=false\n"
                           "  状态：DDC 可用\n"
                           "SKIP: SLS API not available\n"));
}

TEST(SelfTestCommand, fails_without_displays) {
    const MacOnDisk mac(scene({}));
    EXPECT_EQ(mac.veilpane({"--selftest"}), quiet(1, header("true", 0) + "FAIL: no displays\n"));
}

std::string steps(const std::string& output) {
    const auto place = output.find("off: ");
    return place == std::string::npos ? "no step in: " + output : output.substr(place);
}

const std::string refusedOnce = faults({fails("SLSConfigureDisplayEnabled").with(1001)});

TEST(SelfTestCommand, is_partial_when_the_off_step_falls_back_to_ddc) {
    const MacOnDisk mac(scene({panel1, ddcStudio2}, {refusedOnce}));
    const ProgramRun run = mac.veilpane({"--selftest"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(steps(run.output),
              "off: method=DDC 硬件电源 success=true SLS 断开失败（SLSConfigureDisplayEnabled 失败 "
              "CGError 1001），改用DDC 硬件电源：DDC 已发送 Power Off\n"
              "is_off_state=false\n"
              "on: method=断开显示器（SLS） success=true 已重新连接显示器（SLS）\n"
              "is_on_state=true\n"
              "PARTIAL: some path worked\n");
}

TEST(SelfTestCommand, passes_when_a_blackout_is_undone) {
    const MacOnDisk mac(scene({panel1, studio2}, {refusedOnce}));
    const ProgramRun run = mac.veilpane({"--selftest"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(steps(run.output),
              "off: method=BlackOut（镜像+Gamma） success=true SLS 断开失败"
              "（SLSConfigureDisplayEnabled 失败 CGError 1001），改用BlackOut（镜像+Gamma）："
              "BlackOut：镜像 + Gamma 归零（软件兜底）\n"
              "is_off_state=true\n"
              "on: method=BlackOut（镜像+Gamma） success=true 已解除 BlackOut，显示器恢复显示\n"
              "is_on_state=true\n"
              "OK: power path works (disconnect preferred)\n");
}

TEST(SelfTestCommand, leaves_the_display_off_when_the_on_step_fails) {
    const MacOnDisk mac(scene({panel1, studio2},
                              {faults({fails("SLSConfigureDisplayEnabled").nth(2).with(1001)})}));
    const ProgramRun run = mac.veilpane({"--selftest"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(
        steps(run.output),
        "off: method=断开显示器（SLS） success=true 已断开显示器（SLS，系统设置中将消失）\n"
        "is_off_state=true\n"
        "on: method=断开显示器（SLS） success=false 重连失败：SLSConfigureDisplayEnabled 失败 "
        "CGError 1001\n"
        "is_on_state=false\n"
        "PARTIAL: some path worked\n");
    EXPECT_NE(mac.macsim({"show"}).output.find("disconnected"), std::string::npos);
}

// While the online list cannot be had, a known display counts as disconnected. That list is asked
// for the eighth time when the on step has succeeded.
TEST(SelfTestCommand, is_partial_when_the_display_is_not_seen_to_come_on) {
    const MacOnDisk mac(
        scene({panel1, studio2}, {faults({fails("CGGetOnlineDisplayList").nth(8).with(1000)})}));
    const ProgramRun run = mac.veilpane({"--selftest"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(steps(run.output),
              "off: method=断开显示器（SLS） success=true 已断开显示器（SLS，系统设置中将消失）\n"
              "is_off_state=true\n"
              "on: method=断开显示器（SLS） success=true 已重新连接显示器\n"
              "is_on_state=false\n"
              "PARTIAL: some path worked\n");
}

// The off step is refused for want of a second active display; the on step counts as a success
// although its enable fails, because the software display was restored.
TEST(SelfTestCommand, is_partial_when_only_the_on_step_succeeds) {
    const MacOnDisk mac(scene({panel1, studio2},
                              {faults({fails("CGGetActiveDisplayList").every().with(1000),
                                       fails("SLSConfigureDisplayEnabled").every().with(1001)})}));
    const ProgramRun run = mac.veilpane({"--selftest"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(steps(run.output),
              "off: method=断开显示器（SLS） success=false 拒绝断开：只剩这一台活动显示器\n"
              "is_off_state=false\n"
              "on: method=BlackOut（镜像+Gamma） success=true SLS 重连失败"
              "（SLSConfigureDisplayEnabled 失败 CGError 1001），已恢复软件显示\n"
              "is_on_state=true\n"
              "PARTIAL: some path worked\n");
}

// A remembered display that is on again is taken for a disconnected one only while the online list
// cannot be had: at its second call the display stays remembered, at its eleventh the on step finds
// it so.
TEST(SelfTestCommand, fails_when_neither_step_succeeds) {
    const MacOnDisk mac(scene(
        {panel1, studio2},
        {remembered("[2]"), faults({fails("CGGetActiveDisplayList").every().with(1000),
                                    fails("CGGetOnlineDisplayList").nth(2).with(1000),
                                    fails("CGGetOnlineDisplayList").nth(11).with(1000),
                                    fails("SLSConfigureDisplayEnabled").every().with(1001)})}));
    const ProgramRun run = mac.veilpane({"--selftest"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(
        steps(run.output),
        "off: method=断开显示器（SLS） success=false 拒绝断开：只剩这一台活动显示器\n"
        "is_off_state=false\n"
        "on: method=断开显示器（SLS） success=false 重连失败：SLSConfigureDisplayEnabled 失败 "
        "CGError 1001\n"
        "is_on_state=true\n"
        "FAIL: power path\n");
}

// Output waits in a buffer of some thousand bytes, so names of many lengths let the write that
// finds no reader fall between the two steps.
TEST(SelfTestCommand, a_reader_that_has_gone_does_not_leave_the_display_off) {
    // Whoever runs the tests may have it ignored, which children inherit.
    std::signal(SIGPIPE, SIG_DFL);
    for (std::size_t length = 1500; length < 2060; length += 40) {
        const std::string name(length, 'x');
        const MacOnDisk mac(scene({panel1, R"({ "id": 2, "profilerName": ")" + name + "\" }"}));
        ASSERT_EQ(mac.macsim({"show"}).status, 0);
        const std::string fifo = mac.stateDirectory() + "/fifo";
        ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
        const ProgramRun run =
            mac.veilpaneUnderShell("--selftest 3<>'" + fifo + "' >'" + fifo + "' 3<&-");
        EXPECT_EQ(run, (ProgramRun{0, "", ""})) << length;
        EXPECT_EQ(mac.macsim({"show"}).output.find("disconnected"), std::string::npos) << length;
    }
}

} // namespace
