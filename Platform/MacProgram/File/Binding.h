#pragma once

#include "MacProgram/File/ProgramFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mac_program {

/// A pointer to something of a library.
struct Binding {
    std::uint64_t place = 0; ///< where it lies, as linked
    std::string symbol;
    std::string library;     ///< its install name
    std::int64_t addend = 0; ///< in bytes
};

/// All such pointers, those for a first call included. Throws BadProgram for an instruction that is
/// not known here, for a place that may not be written to, and for a symbol that any library may
/// define.
std::vector<Binding> bindings(const ProgramFile& program);

} // namespace mac_program
