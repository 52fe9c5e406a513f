#pragma once

#include "MacProgram/Image/Image.h"
#include "MacProgram/Unwinding/FrameInstructions.h"

#include <cstdint>
#include <vector>

namespace mac_program {

/// How to leave one of the program's functions, as the program's own table tells a Mac's unwinder.
struct FunctionFrame {
    std::uint64_t begin = 0; ///< in memory
    std::uint64_t end = 0;
    FrameInstructions instructions;
    std::uint64_t personality = 0; ///< who looks for handlers; 0 where there are none
    std::uint64_t handlers = 0;    ///< the table of handlers, or 0
};

/// The table `__unwind_info`. Throws BadProgram when it is damaged, or says what is not known here.
std::vector<FunctionFrame> functionFrames(const Image& image);

} // namespace mac_program
