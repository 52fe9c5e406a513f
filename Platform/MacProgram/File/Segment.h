#pragma once

#include <cstdint>
#include <string>

namespace mac_program {

/// A part of the program's memory, as it is linked.
struct Segment {
    std::string name;
    std::uint64_t address = 0;
    std::uint64_t size = 0;       ///< in memory, in bytes
    std::uint64_t fileOffset = 0; ///< from the slice's beginning
    std::uint64_t fileSize = 0;   ///< the rest of the memory is zero
    bool isReadable = false;
    bool isWritable = false;
    bool isExecutable = false;
    bool isReadOnlyOnceBound = false;

    /// Whether it is memory at all, not a hole where nothing may be.
    [[nodiscard]] bool isMapped() const { return isReadable || isWritable || isExecutable; }
    /// Whether `count` bytes at `place` lie in it.
    [[nodiscard]] bool holds(std::uint64_t place, std::uint64_t count) const {
        return place >= address && place - address <= size && count <= size - (place - address);
    }
};

} // namespace mac_program
