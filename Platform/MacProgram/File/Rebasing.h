#pragma once

#include "MacProgram/File/ProgramFile.h"

#include <cstdint>
#include <vector>

namespace mac_program {

/// Where pointers into the program itself lie, as addresses as linked. Throws BadProgram for an
/// instruction that is not known here and for a place that may not be written to.
std::vector<std::uint64_t> rebasedPlaces(const ProgramFile& program);

} // namespace mac_program
