#pragma once

#include "MacProgram/Tests/TinyProgram.h"

#include <utility>

namespace mac_program {

/// What `__unwind_info` tells of the one function of a TinyProgram, to be damaged at will. Places
/// are from the code's beginning.
struct TinyUnwinding {
    std::uint32_t begin = 0x800;
    std::uint32_t end = 0x806;
    std::uint32_t encoding = 0x01000000;
    std::uint32_t pageKind = 2;
    std::uint32_t lastPage = 0; ///< the offset that says that there is no page any more
    std::vector<std::uint32_t> personalities = {}; ///< where their pointers lie
    std::vector<std::pair<std::uint32_t, std::uint32_t>> handlers =
        {};                        ///< functions and their tables
    std::uint32_t handlersCut = 0; ///< how many bytes the tables' list is too short

    void addTo(TinyProgram& program) const;
};

} // namespace mac_program
