#pragma once

#include "SimulatedMac/World/InputError.h"

#include <string>

namespace simulated_mac {

/// Ends the process with status 2 after one line on standard error, with nothing half-written. What
/// would break the line or is too long for it is escaped and shortened.
[[noreturn]] void complain(const std::string& line);

/// The action's result; an InputError becomes the complaint.
template <class Action>
auto orComplain(const Action& action) {
    try {
        return action();
    } catch (const InputError& error) {
        complain(error.what());
    }
}

/// Ends the process at once because the program, in its call of the named function, broke a rule of
/// the platform, which would crash or corrupt a Mac's process.
[[noreturn]] void crash(const std::string& call, const std::string& mistake);

} // namespace simulated_mac
