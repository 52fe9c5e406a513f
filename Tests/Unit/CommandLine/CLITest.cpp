#include "Veilpane/CommandLine/CLI.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"
#include "Veilpane/Power/BlackoutController.h"

namespace veilpane::test {

namespace {

using CLITest = SimulatedMacTest;

TEST_F(CLITest, a_display_under_blackout_is_listed_as_such) {
    boot(scene({panel1, studio2}));
    BlackoutController::shared().blackout(2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(CLI::run({"Veilpane", "--list"}), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "1\tPanel\tmain,builtin,no-ddc\n2\tStudio\tno-ddc,blackout\n");
}

TEST_F(CLITest, arguments_without_an_option_are_left_to_the_application) {
    boot();
    EXPECT_EQ(CLI::run({"Veilpane", "file", "-v"}), std::nullopt);
    EXPECT_EQ(CLI::run({}), std::nullopt);
    EXPECT_TRUE(calls().empty());
}

} // namespace

} // namespace veilpane::test
