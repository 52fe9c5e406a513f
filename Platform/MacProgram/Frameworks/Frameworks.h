#pragma once

#include "MacProgram/Runtime/Library.h"

namespace mac_program {

// The frameworks, out of the simulated Mac and GNUstep.

Library appKit();
Library foundation();
Library coreFoundation();
Library coreGraphics();
Library ioKit();

} // namespace mac_program
