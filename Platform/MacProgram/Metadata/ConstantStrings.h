#pragma once

#include "MacProgram/Image/Image.h"

namespace mac_program {

/// A literal is one object for Foundation and CoreFoundation on a Mac. Here it becomes
/// Foundation's, and CoreFoundation gets a twin. Throws BadProgram for what is no literal.
void adoptConstantStrings(const Image& image);

/// The twin of a literal, every other object itself.
const void* coreFoundationObject(const void* object);

} // namespace mac_program
