#include "MacProgram/Processor/CallThunk.h"

#include <array>
#include <cstring>

namespace mac_program {
namespace {

// ldr x16, pointer: by its distance from the instruction, in words.
std::uint32_t loadingFrom(const std::uint8_t* instruction, const std::uint8_t* pointer) {
    const auto words = static_cast<std::uint32_t>((pointer - instruction) / 4) & 0x7FFFF;
    return 0x58000000U | words << 5 | 16;
}

} // namespace

// ldr x16, target; br x16; movz w17, #number; ldr x16, firstCall; br x16
std::uint8_t* writeThunk(std::uint8_t* thunk, const std::uint8_t* target,
                         const std::uint8_t* firstCall, std::uint32_t number) {
    constexpr std::uint32_t goOn = 0xD61F0200;
    const std::array<std::uint32_t, 5> instructions = {loadingFrom(thunk, target), goOn,
                                                       0x52800000U | (number & 0xFFFF) << 5 | 17,
                                                       loadingFrom(thunk + 12, firstCall), goOn};
    std::memcpy(thunk, instructions.data(), sizeof instructions);
    return thunk + 8;
}

} // namespace mac_program
