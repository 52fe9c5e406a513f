// What an encoding of __unwind_info says of an x86_64 frame; what it says badly is refused.

#include "MacProgram/Processor/Frames.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"

#include <gtest/gtest.h>

namespace mac_program {
namespace {

using Instructions = std::vector<std::uint8_t>;

TEST(Frames, a_frame_pointer_has_registers_below_it) {
    // rbp + 16 is the end; rbp lies 2 words below it, rbx (3) and r14 (14) 4 and 3 words.
    EXPECT_EQ(frameOf(0x01020021).bytes(), (Instructions{0x0C, 6, 16, 0x86, 2, 0x83, 4, 0x8E, 3}));
}

TEST(Frames, registers_lie_below_the_return_address) {
    // rsp + 40 is the end; rbx (3) and r15 (15), in one number.
    EXPECT_EQ(frameOf(0x02050803).bytes(), (Instructions{0x0C, 7, 40, 0x83, 3, 0x8F, 2}));
}

TEST(Frames, what_does_not_fit_is_refused) {
    constexpr std::uint32_t rows[] = {
        0x00000000, // of no kind
        0x03000000, // a size that is in the code
        0x04000000, // in an entry of its own
        0x01000006, // a sixth register below a frame pointer
        0x01000001, // a register above the frame pointer
        0x01010008, // the second one at the frame pointer
        0x01010000, // space for registers, and none of them
        0x01018001, // a bit that means nothing
        0x02081C00, // seven registers
        0x02030406, // more orders of one register than there are
        0x02020800, // a frame smaller than its registers
        0x02052803, // a bit that is for another kind
    };
    for (const std::uint32_t encoding : rows) {
        try {
            (void)frameOf(encoding);
            ADD_FAILURE() << hexadecimal(encoding) << " is taken";
        } catch (const BadProgram& bad) {
            EXPECT_EQ(bad.what(),
                      "unwinding encoding " + hexadecimal(encoding) + " is not known here");
        }
    }
}

} // namespace
} // namespace mac_program
