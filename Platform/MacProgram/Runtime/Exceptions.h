#pragma once

#include "MacProgram/Unwinding/CompactUnwinding.h"

#include <unwind.h>
#include <vector>

namespace mac_program {

/// Makes the program's tables of handlers known to the personality. The image must last as long as
/// the process. Throws BadProgram.
void adoptHandlers(const Image& image, const std::vector<FunctionFrame>& functions);

/// Looks for the handlers of the program's Objective-C functions, for exceptions of the runtime
/// here. A damaged table ends the process.
_Unwind_Reason_Code personality(int version, _Unwind_Action actions, _Unwind_Exception_Class kind,
                                _Unwind_Exception* exception, _Unwind_Context* context);

/// What a handler begins and ends with. The first one gives the object that was thrown, or nothing
/// for an exception of another language.
void* beginCatch(void* exception);
void endCatch();

} // namespace mac_program
