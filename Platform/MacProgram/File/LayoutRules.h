#pragma once

#include "MacProgram/File/ProgramFile.h"

namespace mac_program {

/// Throws BadProgram unless the section is of a known name and kind, and lies in its segment, in
/// memory and in the file. `fileOffset` is from the slice's beginning.
void requireSection(const Section& section, std::uint32_t kind, std::uint32_t fileOffset,
                    const Segment& segment);

/// Throws BadProgram unless the segments lie inside the file, beside each other and on pages of
/// their own, and the program begins inside its code.
void requireSoundLayout(const ProgramFile& program);

} // namespace mac_program
