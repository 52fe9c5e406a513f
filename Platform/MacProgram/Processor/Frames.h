#pragma once

#include "MacProgram/Unwinding/FrameInstructions.h"

#include <cstdint>
#include <optional>

namespace mac_program {

/// DWARF's number of what holds the address that a function returns to.
extern const std::uint8_t returnAddress;

/// Whether DWARF's number is that of a register whose place a frame can tell.
bool isRegister(std::uint64_t number);

/// Of a function that has not done anything yet.
FrameInstructions frameOnEntry();

/// What a function's encoding in `__unwind_info` says of its frame. Throws BadProgram for one that
/// is not known here.
FrameInstructions frameOf(std::uint32_t encoding);

/// Where in `__eh_frame` the function's entry begins, when the encoding says only that.
std::optional<std::uint32_t> entryInstead(std::uint32_t encoding);

} // namespace mac_program
