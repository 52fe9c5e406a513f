#pragma once

#include "MacProgram/Runtime/Symbol.h"

#include <string>
#include <vector>

namespace mac_program {

/// What libSystem has for this processor alone, and what is called there in a way of its own.
std::vector<Symbol> systemImportsOfProcessor();

/// How messages are sent.
std::vector<Symbol> messageImportsOfProcessor();

/// The name of the method that this system's runtime is to find for one of the program's messages.
/// Throws BadProgram for a method that the program calls in a way that is not known here.
std::string methodFor(const std::string& selector);

} // namespace mac_program
