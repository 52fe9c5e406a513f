#include "EndToEnd/ProgramRun.h"

#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace {

TEST(Macsim, desk_draws_a_png) {
    const MacOnDisk mac;
    const std::string file = mac.stateDirectory() + "-desk.png";
    EXPECT_EQ(mac.macsim({"desk", file}), (ProgramRun{0, "", ""}));
    std::array<char, 4> start = {};
    std::ifstream(file, std::ios::binary).read(start.data(), start.size());
    EXPECT_EQ(std::string(start.data(), start.size()), "\x89PNG");
}

TEST(Macsim, desk_needs_one_file_name_and_a_place_to_write_it) {
    const MacOnDisk mac;
    EXPECT_EQ(mac.macsim({"desk"}), (ProgramRun{2, "", "macsim: desk: takes one file name\n"}));
    const std::string nowhere = mac.stateDirectory() + "/no/desk.png";
    EXPECT_EQ(mac.macsim({"desk", nowhere}),
              (ProgramRun{2, "", "macsim: desk: cannot write '" + nowhere + "'\n"}));
}

} // namespace
