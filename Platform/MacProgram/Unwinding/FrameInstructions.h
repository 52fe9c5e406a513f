#pragma once

#include "MacProgram/Unwinding/FrameWalk.h"

#include <cstdint>
#include <vector>

namespace mac_program {

/// Tells an unwinder, in DWARF's instructions, where a frame keeps the caller's registers.
class FrameInstructions {
public:
    /// The frame ends `offset` bytes above what the register holds.
    void define(std::uint8_t number, std::uint64_t offset);
    /// The caller's value of the register lies `words` words below the frame's end.
    void saved(std::uint8_t number, std::uint64_t words);
    /// Instructions that somebody else has written. Throws BadProgram for one that is not known
    /// here, and for those that an unwinder cannot follow after the ones before.
    void append(Bytes instructions);

    [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return bytes_; }

private:
    void putUnsigned(std::uint64_t value);

    std::vector<std::uint8_t> bytes_;
    FrameWalk walk_; // through what has been appended
};

} // namespace mac_program
