#pragma once

#include <unwind.h>

namespace mac_program {

/// Looks for the handlers of the program's Objective-C functions, for exceptions of the runtime
/// here.
_Unwind_Reason_Code personality(int version, _Unwind_Action actions, _Unwind_Exception_Class kind,
                                _Unwind_Exception* exception, _Unwind_Context* context);

/// What a handler begins and ends with. The first one gives the object that was thrown, or nothing
/// for an exception of another language.
void* beginCatch(void* exception);
void endCatch();

} // namespace mac_program
