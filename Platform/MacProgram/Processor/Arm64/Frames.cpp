#include "MacProgram/Processor/Frames.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"

namespace mac_program {
namespace {

constexpr std::uint8_t stackPointer = 31;
constexpr std::uint8_t framePointer = 29;

enum Mode : std::uint32_t { stackFrame = 2, inEntry = 3, framePointerFrame = 4 };

/// A bit of an encoding for two registers that are kept together.
struct Pair {
    std::uint32_t bit;
    std::uint8_t first; // in DWARF's numbers
};

// x19 to x28, and the lower halves of v8 to v15.
constexpr Pair pairs[] = {{0x1, 19},   {0x2, 21},   {0x4, 23},   {0x8, 25},  {0x10, 27},
                          {0x100, 72}, {0x200, 74}, {0x400, 76}, {0x800, 78}};
constexpr std::uint32_t allPairs = 0xF1F;

[[noreturn]] void refuseEncoding(std::uint32_t encoding) {
    throw BadProgram("unwinding encoding " + hexadecimal(encoding) + " is not known here");
}

// The caller's frame pointer and the return address lie at the frame pointer, and the pairs below.
FrameInstructions framePointerFrameOf(std::uint32_t encoding) {
    if ((encoding & 0xFFFFFF & ~allPairs) != 0) {
        refuseEncoding(encoding);
    }
    FrameInstructions frame;
    frame.define(framePointer, 16);
    frame.saved(framePointer, 2);
    frame.saved(returnAddress, 1);
    std::uint64_t words = 3;
    for (const Pair& pair : pairs) {
        if ((encoding & pair.bit) != 0) {
            frame.saved(pair.first, words++);
            frame.saved(pair.first + 1, words++);
        }
    }
    return frame;
}

// Of a function that calls nothing: the return address is where it was. Its size counts 16 bytes.
FrameInstructions stackFrameOf(std::uint32_t encoding) {
    if ((encoding & 0xFFF) != 0) {
        refuseEncoding(encoding);
    }
    FrameInstructions frame;
    frame.define(stackPointer, std::uint64_t{16} * (encoding >> 12 & 0xFFF));
    return frame;
}

} // namespace

constinit const std::uint8_t returnAddress = 30;

// x0 to x30 and the stack pointer, v0 to v31.
bool isRegister(std::uint64_t number) {
    return number <= stackPointer || (number >= 64 && number < 96);
}

FrameInstructions frameOnEntry() {
    FrameInstructions frame;
    frame.define(stackPointer, 0);
    return frame;
}

FrameInstructions frameOf(std::uint32_t encoding) {
    switch (encoding >> 24) {
    case framePointerFrame:
        return framePointerFrameOf(encoding);
    case stackFrame:
        return stackFrameOf(encoding);
    default:
        refuseEncoding(encoding);
    }
}

std::optional<std::uint32_t> entryInstead(std::uint32_t encoding) {
    if (encoding >> 24 != inEntry) {
        return std::nullopt;
    }
    return encoding & 0xFFFFFF;
}

} // namespace mac_program
