#include "MacProgram/Processor/Frames.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"

#include <array>
#include <vector>

namespace mac_program {
namespace {

constexpr std::uint8_t stackPointer = 7;
constexpr std::uint8_t framePointer = 6;
constexpr std::uint8_t wordSize = 8;

// The compact numbers of rbx, r12, r13, r14, r15 and rbp as DWARF's.
constexpr std::array<std::uint8_t, 7> dwarfNumbers = {0, 3, 12, 13, 14, 15, framePointer};

enum Mode : std::uint32_t { framePointerFrame = 1, stackFrame = 2 };

[[noreturn]] void refuseEncoding(std::uint32_t encoding) {
    throw BadProgram("unwinding encoding " + hexadecimal(encoding) + " is not known here");
}

// Which of the six registers a frame keeps, and in which order, is one number: each digit is a
// register's place among those that are left, and has one value less than the digit before it.
std::vector<std::uint32_t> savedRegisters(std::uint32_t encoding) {
    const std::uint32_t count = encoding >> 10 & 7;
    if (count > 6) {
        refuseEncoding(encoding);
    }
    std::uint32_t number = encoding & 0x3FF;
    std::vector<std::uint32_t> digits(count);
    for (std::uint32_t i = count; i-- > 0;) {
        digits[i] = number % (6 - i);
        number /= 6 - i;
    }
    if (number != 0) {
        refuseEncoding(encoding);
    }
    std::vector<std::uint32_t> left = {1, 2, 3, 4, 5, 6};
    std::vector<std::uint32_t> saved;
    for (const std::uint32_t digit : digits) {
        saved.push_back(left[digit]);
        left.erase(left.begin() + digit);
    }
    return saved;
}

// The caller's frame pointer and the return address lie at the frame pointer; up to five registers
// lie below, the first one `offset` words.
FrameInstructions framePointerFrameOf(std::uint32_t encoding) {
    FrameInstructions frame;
    frame.define(framePointer, 2 * wordSize);
    frame.saved(framePointer, 2);
    const std::uint32_t offset = encoding >> 16 & 0xFF;
    constexpr std::uint32_t noRegister = 0x8000;
    if ((encoding & noRegister) != 0 || (offset != 0 && (encoding & 0x7FFF) == 0)) {
        refuseEncoding(encoding);
    }
    for (std::uint32_t i = 0; i < 5; ++i) {
        const std::uint32_t saved = encoding >> (3 * i) & 7;
        if (saved > 5 || (saved != 0 && offset <= i)) {
            refuseEncoding(encoding);
        }
        if (saved != 0) {
            frame.saved(dwarfNumbers.at(saved), 2 + offset - i);
        }
    }
    return frame;
}

// Of a known size. The registers lie below the return address, the last one next to it.
FrameInstructions stackFrameOf(std::uint32_t encoding) {
    constexpr std::uint32_t adjustment = 0xE000; // of frames whose size is in the code
    const std::uint32_t words = encoding >> 16 & 0xFF;
    const auto saved = savedRegisters(encoding);
    if ((encoding & adjustment) != 0 || words < 1 + saved.size()) {
        refuseEncoding(encoding);
    }
    FrameInstructions frame;
    frame.define(stackPointer, std::uint64_t{wordSize} * words);
    for (std::size_t i = 0; i < saved.size(); ++i) {
        frame.saved(dwarfNumbers.at(saved[i]), 1 + saved.size() - i);
    }
    return frame;
}

} // namespace

constinit const std::uint8_t returnAddress = 16;

bool isRegister(std::uint64_t number) {
    return number <= returnAddress;
}

// The frame ends above the return address.
FrameInstructions frameOnEntry() {
    FrameInstructions frame;
    frame.define(stackPointer, wordSize);
    frame.saved(returnAddress, 1);
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

// Each encoding has been enough so far.
std::optional<std::uint32_t> entryInstead(std::uint32_t) {
    return std::nullopt;
}

} // namespace mac_program
