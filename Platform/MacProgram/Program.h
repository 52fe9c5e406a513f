#pragma once

#include <map>
#include <string>

namespace mac_program {

/// A program's `main` with a Mac's arguments: the last one is what the kernel tells beside them.
using Main = int (*)(int count, char** arguments, char** environment, const char* const* apple);

/// Functions that the program gets in the place of the Mac's own, by the names of these.
using Substitutes = std::map<std::string, const void*>;

/// Lays the program in `file` out in this process and makes it ready to run, for as long as the
/// process lasts. Throws BadProgram when it cannot be run here.
Main load(const std::string& file, const Substitutes& substitutes = {});

} // namespace mac_program
