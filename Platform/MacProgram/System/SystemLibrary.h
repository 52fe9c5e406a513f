#pragma once

#include "MacProgram/Runtime/Library.h"

namespace mac_program {

/// libSystem, as thin as the program allows: what is the same in the C library here is taken as it
/// is.
Library systemLibrary();

} // namespace mac_program
