// What a Mac answers seldom: other types than expected, interrupted calls, monitors that do not
// obey.

#include "EndToEnd/ProgramRun.h"
#include "Support/Scenes.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* blackedOut = "BlackOut：镜像 + Gamma 归零（软件兜底）\n";

struct Disobedience {
    const char* name;
    std::string_view display;
    const char* reason;

    friend void PrintTo(const Disobedience& row, std::ostream* stream) { *stream << row.name; }
};

class DisobedientMonitor : public testing::TestWithParam<Disobedience> {};

TEST_P(DisobedientMonitor, is_blacked_out_instead) {
    const MacOnDisk mac(scene({main1, GetParam().display}, {noSkyLight}));
    EXPECT_EQ(mac.veilpane({"--power", "off", "2"}),
              quiet(0, std::string("method=BlackOut（镜像+Gamma） success=true\nDDC 失败（") +
                           GetParam().reason + "），改用" + blackedOut));
}

INSTANTIATE_TEST_SUITE_P(Monitors, DisobedientMonitor,
                         testing::Values(Disobedience{"mute", mute2, "DDC 发送失败 (code 4)"},
                                         Disobedience{"locked", locked2, "打开 I2C 失败"}),
                         [](const auto& info) { return info.param.name; });

TEST(UnusualAnswers, registry_numbers_may_be_booleans_and_data) {
    const MacOnDisk mac(
        scene({main1, R"({ "id": 2, "vendor": 1, "model": 7 })"},
              {registry(R"({ "class": "IODisplay", "properties": { "DisplayVendorID": true,
                  "DisplayProductID": { "data": "07000000" }, "DisplayProductName": "Odd" } })")}));
    EXPECT_NE(mac.veilpane({"--list"}).output.find("2\tOdd\t"), std::string::npos);
}

TEST(UnusualAnswers, a_reading_and_a_wait_that_a_signal_interrupts_are_repeated) {
    const MacOnDisk mac(scene({panel1, studio2}, {R"("faults": [
        { "call": "read", "nth": 1, "returns": -1, "errno": 4 },
        { "call": "waitpid", "nth": 1, "returns": -1, "errno": 4 } ])"}));
    EXPECT_EQ(mac.veilpane({"--list"}),
              quiet(0, "1\tPanel\tmain,builtin,no-ddc\n2\tStudio\tno-ddc\n"));
}

TEST(UnusualAnswers, without_saved_gamma_tables_those_of_all_displays_are_reset) {
    const MacOnDisk mac(
        scene({panel1, studio2}, {faults({fails("SLSConfigureDisplayEnabled").with(1001),
                                          fails("CGGetDisplayTransferByTable").with(1000)})}));
    EXPECT_EQ(mac.veilpane({"--selftest"}).status, 0);
    EXPECT_TRUE(mac.macsim({"calls"}).output.contains("CGDisplayRestoreColorSyncSettings"));
    EXPECT_EQ(mac.display(2).at("gamma"), "normal");
}

TEST(UnusualAnswers, a_framebuffer_that_coregraphics_knows_is_used) {
    const MacOnDisk mac(scene({main1, ddc2}, {noSkyLight, R"("hardware": "intel")"}));
    EXPECT_EQ(mac.veilpane({"--power", "off", "2"}),
              quiet(0, "method=DDC 硬件电源 success=true\nDDC 已发送 Power Off\n"));
    EXPECT_FALSE(mac.display(2).at("lit"));
}

} // namespace
