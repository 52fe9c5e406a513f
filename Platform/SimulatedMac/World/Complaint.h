#pragma once

#include <string>

namespace simulated_mac {

/// Ends the process with status 2 after one line on standard error, with nothing half-written.
[[noreturn]] void complain(const std::string& line);

/// Ends the process at once because the program broke a rule of the platform that would crash or
/// corrupt a Mac's process.
[[noreturn]] void crash(const std::string& line);

} // namespace simulated_mac
