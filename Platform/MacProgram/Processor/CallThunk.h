#pragma once

#include <cstddef>
#include <cstdint>

namespace mac_program {

/// The most that a thunk takes, in bytes.
constexpr std::size_t thunkSize = 32;

/// Writes instructions that go on wherever the pointer at `target` leads. Returns those among them
/// that let mac_program_first_call have `number`, by the pointer to it at `firstCall`: the first
/// target. Both pointers lie less than 1 MiB away.
std::uint8_t* writeThunk(std::uint8_t* thunk, const std::uint8_t* target,
                         const std::uint8_t* firstCall, std::uint32_t number);

} // namespace mac_program
