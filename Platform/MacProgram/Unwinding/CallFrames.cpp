#include "MacProgram/Unwinding/CallFrames.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

extern "C" {

// Of the unwinder; it keeps the pointer.
void __register_frame(void* entries);
void __deregister_frame(void* entries);

} // extern "C"

namespace mac_program {
namespace {

// Numbers and instructions of DWARF for x86_64.
constexpr std::uint8_t stackPointer = 7;
constexpr std::uint8_t framePointer = 6;
constexpr std::uint8_t returnAddress = 16;
constexpr std::uint8_t wordSize = 8;
constexpr std::uint8_t negativeWordSize = 0x78; // -8 as LEB128
constexpr std::uint8_t defineFrame = 0x0C;
constexpr std::uint8_t savedAt = 0x80;

// The compact numbers of rbx, r12, r13, r14, r15 and rbp as DWARF's.
constexpr std::array<std::uint8_t, 7> dwarfNumbers = {0, 3, 12, 13, 14, 15, framePointer};

enum Mode : std::uint32_t { framePointerFrame = 1, stackFrame = 2 };

// Which of the six registers a frame keeps, and in which order, is one number: each digit is a
// register's place among those that are left, and has one value less than the digit before it.
std::vector<std::uint32_t> savedRegisters(std::uint32_t encoding) {
    const std::uint32_t count = std::min(encoding >> 10 & 7, 6U);
    std::uint32_t number = encoding & 0x3FF;
    std::vector<std::uint32_t> digits(count);
    for (std::uint32_t i = count; i-- > 0;) {
        digits[i] = number % (6 - i);
        number /= 6 - i;
    }
    std::vector<std::uint32_t> left = {1, 2, 3, 4, 5, 6};
    std::vector<std::uint32_t> saved;
    for (const std::uint32_t digit : digits) {
        saved.push_back(left[digit]);
        left.erase(left.begin() + digit);
    }
    return saved;
}

} // namespace

CallFrames::CallFrames(const std::vector<FunctionFrame>& frames) {
    for (const FunctionFrame& frame : frames) {
        add(frame);
    }
    put<std::uint32_t>(0);
}

CallFrames::~CallFrames() {
    if (isAnnounced_) {
        __deregister_frame(bytes_.data());
    }
}

void CallFrames::announce() {
    __register_frame(bytes_.data());
    isAnnounced_ = true;
}

void CallFrames::add(const FunctionFrame& frame) {
    const std::size_t common = commonPart(frame.personality);
    const std::size_t begin = beginEntry();
    put(static_cast<std::uint32_t>(bytes_.size() - common));
    put(frame.begin);
    put(frame.end - frame.begin);
    put<std::uint8_t>(frame.personality != 0 ? sizeof frame.handlers : 0);
    if (frame.personality != 0) {
        put(frame.handlers);
    }
    putInstructions(frame.encoding);
    endEntry(begin);
}

// What all functions with the same personality share. On entry the frame ends above the return
// address.
std::size_t CallFrames::commonPart(std::uint64_t personality) {
    const auto [known, isNew] = commonParts_.try_emplace(personality, bytes_.size());
    if (!isNew) {
        return known->second;
    }
    const bool hasPersonality = personality != 0;
    const std::size_t begin = beginEntry();
    put<std::uint32_t>(0);
    put<std::uint8_t>(1); // version
    for (const char each : std::string_view(hasPersonality ? "zPLR" : "zR")) {
        put(each);
    }
    put<std::uint8_t>(0);
    put<std::uint8_t>(1); // instructions begin at any byte
    put(negativeWordSize);
    put(returnAddress);
    // Three encodings, all of them absolute addresses, and the personality itself.
    put<std::uint8_t>(hasPersonality ? 3 + wordSize : 1);
    if (hasPersonality) {
        put<std::uint8_t>(0);
        put(personality);
        put<std::uint8_t>(0);
    }
    put<std::uint8_t>(0);
    for (const std::uint8_t byte : {defineFrame, stackPointer, wordSize}) {
        put(byte);
    }
    put<std::uint8_t>(savedAt | returnAddress);
    put<std::uint8_t>(1);
    endEntry(begin);
    return begin;
}

std::size_t CallFrames::beginEntry() {
    const std::size_t begin = bytes_.size();
    put<std::uint32_t>(0);
    return begin;
}

// Filled up with instructions that do nothing.
void CallFrames::endEntry(std::size_t begin) {
    while (bytes_.size() % wordSize != 0) {
        put<std::uint8_t>(0);
    }
    const auto length = static_cast<std::uint32_t>(bytes_.size() - begin - sizeof(std::uint32_t));
    std::memcpy(bytes_.data() + begin, &length, sizeof length);
}

template <class Value>
void CallFrames::put(Value value) {
    const std::size_t end = bytes_.size();
    bytes_.resize(end + sizeof value);
    std::memcpy(bytes_.data() + end, &value, sizeof value);
}

void CallFrames::putUnsigned(std::uint64_t value) {
    do {
        const std::uint64_t rest = value >> 7;
        put(static_cast<std::uint8_t>((value & 0x7F) | (rest != 0 ? 0x80 : 0)));
        value = rest;
    } while (value != 0);
}

void CallFrames::putInstructions(std::uint32_t encoding) {
    switch (encoding >> 24) {
    case framePointerFrame:
        return putFramePointerFrame(encoding);
    case stackFrame:
        return putStackFrame(encoding);
    default:
        throw BadProgram("unwinding encoding " + hexadecimal(encoding) + " is not known here");
    }
}

void CallFrames::putSaved(std::uint32_t savedRegister, std::uint64_t words) {
    put<std::uint8_t>(savedAt | dwarfNumbers.at(savedRegister));
    putUnsigned(words);
}

// The caller's frame pointer and the return address lie at the frame pointer; up to five registers
// lie below, the first one `offset` words.
void CallFrames::putFramePointerFrame(std::uint32_t encoding) {
    put(defineFrame);
    put(framePointer);
    putUnsigned(2 * wordSize);
    putSaved(framePointer, 2);
    const std::uint32_t offset = encoding >> 16 & 0xFF;
    for (std::uint32_t i = 0; i < 5; ++i) {
        const std::uint32_t saved = encoding >> (3 * i) & 7;
        if (saved > 5) {
            throw BadProgram("unwinding encoding " + hexadecimal(encoding) + " is not known here");
        }
        if (saved != 0) {
            putSaved(saved, 2 + offset - i);
        }
    }
}

// Of a known size. The registers lie below the return address, the last one next to it.
void CallFrames::putStackFrame(std::uint32_t encoding) {
    put(defineFrame);
    put(stackPointer);
    putUnsigned(std::uint64_t{wordSize} * (encoding >> 16 & 0xFF));
    const auto saved = savedRegisters(encoding);
    for (std::size_t i = 0; i < saved.size(); ++i) {
        putSaved(saved[i], 1 + saved.size() - i);
    }
}

} // namespace mac_program
