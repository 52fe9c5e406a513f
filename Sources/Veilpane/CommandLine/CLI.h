#pragma once

namespace veilpane {

/// The command line: `--power on|off [displayID]`, `--list`, `--selftest`.
namespace CLI {

/// Carries out the option in the process's arguments, if there is one. True when that was done;
/// false when there is none and the menu-bar application is to start. With `--power` and
/// `--selftest` it does not return: they end the process.
bool runIfNeeded();

} // namespace CLI

} // namespace veilpane
