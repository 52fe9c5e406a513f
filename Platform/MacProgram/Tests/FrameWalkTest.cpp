// Only frame instructions that an unwinder can follow are handed to it.

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Unwinding/FrameInstructions.h"

#include <gtest/gtest.h>

namespace mac_program {
namespace {

using Instructions = std::vector<std::uint8_t>;

std::string complaintAbout(const Instructions& common, const Instructions& own) {
    try {
        FrameInstructions frame;
        frame.append(common);
        frame.append(own);
        return "";
    } catch (const BadProgram& bad) {
        return bad.what();
    }
}

const Instructions common = {0x0C, 7, 8, 0x90, 1};

TEST(FrameWalk, instructions_that_are_known_are_appended_as_they_are) {
    const Instructions own = {0x41, 0x0E, 16,   0x86, 2, 0x02, 1,    0x0D, 6,    0x0A, 0x03,
                              1,    0,    0xC6, 0x04, 1, 0,    0,    0,    0x0B, 0x05, 3,
                              2,    0x06, 3,    0x08, 3, 0x0C, 0x07, 0x80, 0x01, 0x00};
    FrameInstructions frame;
    frame.append(common);
    frame.append(own);
    Instructions both = common;
    both.insert(both.end(), own.begin(), own.end());
    EXPECT_EQ(frame.bytes(), both);
}

TEST(FrameWalk, what_an_unwinder_could_not_follow_is_refused) {
    const std::string register_ = "an entry of __eh_frame names a register that is not there";
    const std::string early = "the instructions of __eh_frame end too early";
    const std::pair<Instructions, std::string> rows[] = {
        {{0x0F, 1, 0x50}, "instruction 0xf of __eh_frame is not known here"},
        {{0x10, 1, 1, 0x50}, "instruction 0x10 of __eh_frame is not known here"},
        {{0x01, 0, 0, 0, 0, 0, 0, 0, 0}, "instruction 0x1 of __eh_frame is not known here"},
        {{0x2E, 0}, "instruction 0x2e of __eh_frame is not known here"},
        {{0x0B}, "an entry of __eh_frame recalls what it has not remembered"},
        {{0x0A, 0x0B, 0x0B}, "an entry of __eh_frame recalls what it has not remembered"},
        {{0x0C, 17, 8}, register_},
        {{0x0D, 17}, register_},
        {{0x91, 1}, register_},
        {{0xD1}, register_},
        {{0x05, 0x80, 0x01, 1}, register_},
        {{0x06, 17}, register_},
        {{0x08, 17}, register_},
        {{0x0C, 7}, early},
        {{0x0E, 0x80}, early},
        {{0x86}, early},
        {{0x02}, early},
        {{0x03, 0}, early},
        {{0x04, 0, 0, 0}, early},
    };
    for (const auto& [own, complaint] : rows) {
        EXPECT_EQ(complaintAbout(common, own), complaint);
    }
}

TEST(FrameWalk, a_frame_whose_end_nobody_defines_is_refused) {
    const std::string complaint = "an entry of __eh_frame does not define where its frame ends";
    EXPECT_EQ(complaintAbout({}, {0x0C, 7, 8}), complaint);
    EXPECT_EQ(complaintAbout({0x0E, 8}, {}), complaint);
    EXPECT_EQ(complaintAbout({0x0D, 7}, {}), complaint);
}

} // namespace
} // namespace mac_program
