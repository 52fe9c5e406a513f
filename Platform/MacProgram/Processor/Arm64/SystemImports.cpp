#include "MacProgram/Processor/Arm64/AnonymousArguments.h"
#include "MacProgram/Processor/Imports.h"
#include "MacProgram/Runtime/Messages.h"
#include "MacProgram/System/Descriptors.h"
#include "MacProgram/System/Memory.h"

#include <cstdio>

using mac_program::AnonymousArguments;
using mac_program::listOf;

extern "C" {

int mac_program_fcntl_with(int descriptor, int command, const int* argument);
int mac_program_fprintf_with(std::FILE* file, const char* format, AnonymousArguments arguments);
int mac_program_open_with(const char* path, int flags, const int* mode);
int mac_program_snprintf_with(char* text, std::size_t size, const char* format,
                              AnonymousArguments arguments);

int mac_program_fcntl_with(int descriptor, int command, const int* argument) {
    return mac_program::controlDescriptor(descriptor, command, *argument);
}

int mac_program_fprintf_with(std::FILE* file, const char* format, AnonymousArguments arguments) {
    return std::vfprintf(file, format, listOf(arguments));
}

int mac_program_open_with(const char* path, int flags, const int* mode) {
    return mac_program::openFile(path, flags, *mode);
}

int mac_program_snprintf_with(char* text, std::size_t size, const char* format,
                              AnonymousArguments arguments) {
    return std::vsnprintf(text, size, format, listOf(arguments));
}

} // extern "C"

namespace mac_program {

std::vector<Symbol> systemImportsOfProcessor() {
    return {function("_bzero", clear),
            function("_fcntl", mac_program_fcntl),
            function("_fprintf", mac_program_fprintf),
            function("_open", mac_program_open),
            function("_snprintf", mac_program_snprintf),
            function("_vfprintf", mac_program_fprintf_with)};
}

// A large result goes where a register of its own says, so that messages need no second way.
std::vector<Symbol> messageImportsOfProcessor() {
    return {function("_objc_msgSend", mac_program_send),
            function("_objc_msgSendSuper2", mac_program_send_to_superclass)};
}

} // namespace mac_program
