#include "MacProgram/Processor/Imports.h"

#include "MacProgram/Runtime/Messages.h"
#include "MacProgram/System/Descriptors.h"
#include "MacProgram/System/Memory.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

// In Messages.S.
extern "C" void mac_program_send_with_result_in_memory();

namespace mac_program {
namespace {

// Overloaded in C++.
double truncated(double number) {
    return std::trunc(number);
}

} // namespace

// Functions with arguments that their prototypes do not name are called as here, and the longest
// floating-point numbers are the same.
std::vector<Symbol> systemImportsOfProcessor() {
    return {function("___bzero", clear),          function("_fcntl", controlDescriptor),
            function("_fprintf", std::fprintf),   function("_open", openFile),
            function("_snprintf", std::snprintf), function("_strtold", std::strtold),
            function("_swprintf", std::swprintf), function("_trunc", truncated),
            function("_vfprintf", std::vfprintf), function("_wcstold", std::wcstold)};
}

std::vector<Symbol> messageImportsOfProcessor() {
    return {function("_objc_msgSend", mac_program_send),
            function("_objc_msgSend_stret", mac_program_send_with_result_in_memory),
            function("_objc_msgSendSuper2", mac_program_send_to_superclass)};
}

std::string methodFor(const std::string& selector) {
    return selector;
}

} // namespace mac_program
