#pragma once

#include <string>

namespace simulated_mac {

/// Ends the process with status 2 after one line on standard error, with nothing half-written.
[[noreturn]] void complain(const std::string& line);

/// Ends the process at once because the program, in its call of the named function, broke a rule of
/// the platform, which would crash or corrupt a Mac's process.
[[noreturn]] void crash(const std::string& call, const std::string& mistake);

} // namespace simulated_mac
