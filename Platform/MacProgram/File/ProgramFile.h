#pragma once

#include "MacProgram/File/ByteReader.h"
#include "MacProgram/File/Section.h"
#include "MacProgram/File/Segment.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mac_program {

constexpr std::uint64_t pointerSize = 8; ///< bytes, on every processor that is known here
/// What is rebased or bound: all of a pointer, the one type that is in use.
constexpr std::uint8_t plainPointer = 1;

/// What the load commands of a program say. It refers to the bytes that it was read from.
struct ProgramFile {
    Bytes bytes; ///< the slice
    std::vector<Segment> segments;
    std::vector<Section> sections;
    std::vector<std::string> libraries; ///< their install names; the first one's ordinal is 1
    std::uint64_t entryOffset = 0;      ///< of `main`, from the segment of the code
    // Little programs for the loader: which pointers to move, and which to bind to what.
    Bytes rebasing;
    Bytes binding;
    Bytes weakBinding;
    Bytes lazyBinding;

    [[nodiscard]] const Segment& segment(std::string_view name) const;
    /// Throws BadProgram unless a pointer may be written to `place`, an address as linked.
    void requirePointerAt(std::uint64_t place) const;
    /// How many pointers there can be at most, so that no loop over them lasts for ever.
    [[nodiscard]] std::uint64_t mostPointers() const;
};

/// Reads and checks header, load commands, segments and sections. Throws BadProgram for whatever
/// does not fit, or is not known here.
ProgramFile readProgramFile(Bytes slice);

} // namespace mac_program
