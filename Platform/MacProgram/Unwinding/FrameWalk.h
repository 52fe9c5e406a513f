#pragma once

#include "MacProgram/File/ByteReader.h"

#include <cstddef>

namespace mac_program {

/// Goes through DWARF's instructions for a frame as an unwinder will, without carrying them out.
class FrameWalk {
public:
    /// Goes on from what it was told before. Throws BadProgram for an instruction or a register
    /// that is not known here, and for what an unwinder cannot follow.
    void follow(Bytes instructions);

private:
    void followOne(ByteReader& reader);
    void followNamed(std::uint8_t instruction, ByteReader& reader);
    void requireDefined() const;

    bool isDefined_ = false; // where the frame ends
    std::size_t remembered_ = 0;
};

} // namespace mac_program
