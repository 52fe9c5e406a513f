#pragma once

#include <cstdarg>

namespace mac_program {

/// Where a Mac's caller has put the arguments that a prototype does not name, in 8 bytes each. That
/// is also what a Mac's own lists of such arguments are.
using AnonymousArguments = const void*;

/// As lists of arguments are here.
va_list listOf(AnonymousArguments arguments);

} // namespace mac_program

extern "C" {

// In Messages.S: functions and methods with such arguments, in a Mac's way.

void mac_program_array();
void mac_program_fcntl();
void mac_program_formatted_string();
void mac_program_fprintf();
void mac_program_open();
void mac_program_snprintf();

} // extern "C"
