#pragma once

#include "MacProgram/Image/Image.h"

#include <cstdint>
#include <vector>

namespace mac_program {

/// A function's entry in `__eh_frame`, where the compiler tells of frames for which there is no
/// encoding. Addresses are in memory.
struct FrameEntry {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint64_t personality = 0; ///< where the pointer to it lies; 0 where there is none
    std::uint64_t handlers = 0;    ///< the table of handlers, or 0
    Bytes commonInstructions;      ///< to be followed before the function's own
    Bytes instructions;
};

/// The entry that begins `offset` bytes after the section does. Throws BadProgram for one that is
/// not there, or is of a kind that is not known here.
FrameEntry frameEntryAt(const Image& image, std::uint32_t offset);

} // namespace mac_program
