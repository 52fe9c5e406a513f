#pragma once

#include <cstdint>
#include <string>

namespace mac_program {

/// Says which file the program is.
void setExecutablePath(const std::string& file);

/// _NSGetExecutablePath: writes the program's absolute path into `buffer` of `*size` bytes, or
/// tells in
/// `*size` how many it needs and returns -1.
int executablePath(char* buffer, std::uint32_t* size);

} // namespace mac_program
