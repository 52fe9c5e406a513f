#include "MacProgram/Unwinding/FrameInstructions.h"

namespace mac_program {
namespace {

constexpr std::uint8_t defineFrame = 0x0C;
constexpr std::uint8_t savedAt = 0x80; // with the register's number in the lower six bits
constexpr std::uint8_t anySavedAt = 0x05;

} // namespace

void FrameInstructions::define(std::uint8_t number, std::uint64_t offset) {
    bytes_.push_back(defineFrame);
    putUnsigned(number);
    putUnsigned(offset);
}

void FrameInstructions::saved(std::uint8_t number, std::uint64_t words) {
    if (number < 64) {
        bytes_.push_back(savedAt | number);
    } else {
        bytes_.push_back(anySavedAt);
        putUnsigned(number);
    }
    putUnsigned(words);
}

void FrameInstructions::append(Bytes instructions) {
    walk_.follow(instructions);
    bytes_.insert(bytes_.end(), instructions.begin(), instructions.end());
}

void FrameInstructions::putUnsigned(std::uint64_t value) {
    do {
        const std::uint64_t rest = value >> 7;
        bytes_.push_back(static_cast<std::uint8_t>((value & 0x7F) | (rest != 0 ? 0x80 : 0)));
        value = rest;
    } while (value != 0);
}

} // namespace mac_program
