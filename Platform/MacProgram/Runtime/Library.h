#pragma once

#include "MacProgram/Runtime/Symbol.h"

#include <string>
#include <string_view>
#include <vector>

namespace mac_program {

/// One of the Mac's libraries: all that the program may ask of it here.
struct Library {
    std::string_view installName;
    std::vector<Symbol> symbols;
    std::vector<std::string_view> classes; ///< Objective-C classes that it exports
};

/// Finds a symbol in the library that exports it, classes and their exception types included.
/// Throws BadProgram when either is not known here.
Symbol requireSymbol(const std::string& library, const std::string& symbol);

} // namespace mac_program
