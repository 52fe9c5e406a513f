#pragma once

#include <optional>
#include <string>
#include <vector>

namespace veilpane {

/// The command line: `--power on|off [displayID]`, `--list`, `--selftest`.
namespace CLI {

/// Carries out the option among the arguments, the program's name included. Returns the exit
/// status; absent when there is no option and the menu-bar application is to start.
[[nodiscard]] std::optional<int> run(const std::vector<std::string>& arguments);

/// Does so with the process's arguments. True when that was done; false when the menu-bar
/// application is to start. What was refused or failed ends the process with its status instead.
bool runIfNeeded();

} // namespace CLI

} // namespace veilpane
