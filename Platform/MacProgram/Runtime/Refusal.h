#pragma once

#include <string>

namespace mac_program {

/// How macrun ends when a program cannot be run here.
constexpr int refusalStatus = 70;

/// Names the program's file in every later refusal.
void setProgramName(std::string file);

/// Tells in one line on standard error why the program is not run, or not run any further, and ends
/// the process at once with `refusalStatus`.
[[noreturn]] void refuse(const std::string& reason);

} // namespace mac_program
