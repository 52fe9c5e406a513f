#include "MacProgram/Processor/Arm64/AnonymousArguments.h"

namespace mac_program {

// With no register left for them, all arguments are looked for on the stack.
va_list listOf(AnonymousArguments arguments) {
    va_list list = {};
    list.__stack = const_cast<void*>(arguments);
    return list;
}

} // namespace mac_program
