#pragma once

#include "MacProgram/Image/Image.h"

namespace mac_program {

/// Makes the program's classes known to this system's Objective-C runtime, and lets the program's
/// references lead to them and to the runtime's selectors. Throws BadProgram for what does not fit,
/// or is not known here.
void registerClasses(const Image& image);

} // namespace mac_program
