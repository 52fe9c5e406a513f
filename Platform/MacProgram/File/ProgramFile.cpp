#include "MacProgram/File/ProgramFile.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"

#include <algorithm>

namespace mac_program {

const Segment& ProgramFile::segment(std::string_view name) const {
    const auto found = std::ranges::find(segments, name, &Segment::name);
    if (found == segments.end()) {
        throw BadProgram("there is no segment " + std::string(name));
    }
    return *found;
}

void ProgramFile::requirePointerAt(std::uint64_t place) const {
    const bool isThere = std::ranges::any_of(segments, [&](const Segment& segment) {
        return segment.isWritable && segment.holds(place, pointerSize);
    });
    if (!isThere) {
        throw BadProgram("a pointer is to be written to " + hexadecimal(place) +
                         ", where the program may not write");
    }
}

std::uint64_t ProgramFile::mostPointers() const {
    std::uint64_t size = 0;
    for (const Segment& segment : segments) {
        size += segment.isWritable ? segment.size : 0;
    }
    return size / pointerSize;
}

} // namespace mac_program
