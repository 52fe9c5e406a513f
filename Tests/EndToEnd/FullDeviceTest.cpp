#include "EndToEnd/ProgramRun.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

TEST(CommandLine, a_standard_output_that_takes_nothing_changes_nothing_else) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.veilpaneUnderShell("--power off 2 >/dev/full"), (ProgramRun{0, "", ""}));
    const auto shown = nlohmann::json::parse(mac.macsim({"show", "--json"}).output);
    EXPECT_EQ(shown.at("displays").at(1).at("id"), 2);
    EXPECT_FALSE(shown.at("displays").at(1).at("online"));
}

} // namespace
