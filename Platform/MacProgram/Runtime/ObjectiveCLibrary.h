#pragma once

#include "MacProgram/Runtime/Library.h"

#include <objc/objc.h>

namespace mac_program {

/// The Mac's Objective-C runtime, over the one that is here.
Library objectiveC();

/// What a handler names for exceptions of this class and those that inherit it. It lasts as long as
/// the process.
const void* exceptionType(Class caught);

/// Whether a handler for `type`, null for any object, takes a thrown object.
bool catches(const void* type, id thrown);

} // namespace mac_program
