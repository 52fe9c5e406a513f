#include "MacProgram/Processor/CallThunk.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace mac_program {
namespace {

// The distance that an instruction adds to the address behind it.
void writeDistance(std::uint8_t* place, const std::uint8_t* target) {
    const auto distance = static_cast<std::int32_t>(target - (place + 4));
    std::memcpy(place, &distance, sizeof distance);
}

} // namespace

// jmp *target; movl $number, %r11d; jmp *firstCall
std::uint8_t* writeThunk(std::uint8_t* thunk, const std::uint8_t* target,
                         const std::uint8_t* firstCall, std::uint32_t number) {
    constexpr std::array<std::uint8_t, 18> instructions = {
        0xFF, 0x25, 0, 0, 0, 0, 0x41, 0xBB, 0, 0, 0, 0, 0xFF, 0x25, 0, 0, 0, 0};
    std::ranges::copy(instructions, thunk);
    writeDistance(thunk + 2, target);
    std::memcpy(thunk + 8, &number, sizeof number);
    writeDistance(thunk + 14, firstCall);
    return thunk + 6;
}

} // namespace mac_program
