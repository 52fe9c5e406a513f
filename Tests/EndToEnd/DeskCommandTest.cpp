#include "EndToEnd/ProgramRun.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

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

TEST(Macsim, desk_replaces_nothing_but_regular_files) {
    const MacOnDisk mac;
    const std::string pipe = mac.stateDirectory() + "-pipe";
    const std::string link = mac.stateDirectory() + "-link";
    const std::string folder = mac.stateDirectory() + "-folder";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/null", link);
    std::filesystem::create_directory(folder);
    for (const std::string& file : {pipe, link, folder}) {
        const auto before = std::filesystem::symlink_status(file).type();
        EXPECT_EQ(mac.macsim({"desk", file}),
                  (ProgramRun{2, "", "macsim: desk: '" + file + "' is no regular file\n"}));
        EXPECT_EQ(std::filesystem::symlink_status(file).type(), before);
    }
}

} // namespace
