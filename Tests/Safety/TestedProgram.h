#pragma once

#include "Safety/Promise.h"

#include <cstdint>
#include <string>
#include <vector>

/// The program whose promises are tried, in this process: compiled here, or the one that ships. An
/// executable is linked with one of them.
namespace safety::tested_program {

/// Makes it ready, once, before any process is forked. Ends the process with one line when there is
/// no such program.
void load();

/// Whether its functions can be called one by one. Else there are its command line and the
/// application's end, and a display's mirroring is not told.
[[nodiscard]] bool hasFunctions();

/// Switches a display, as its switch and `--power` do.
[[nodiscard]] Outcome setPower(bool on, std::uint32_t id);
/// Throws std::runtime_error for a display without a name.
[[nodiscard]] std::vector<ListedDisplay> listDisplays();
/// Only where its functions can be called.
[[nodiscard]] std::string statusLine(std::uint32_t id);
/// What the application does before it ends.
void restoreAll();

struct Ran {
    int status = 0; ///< the exit status
    std::string output;
};
/// A run of the command line with these arguments, in this process.
[[nodiscard]] Ran run(std::vector<std::string> arguments);

/// The command that carries out a run again, to which its number or history is added.
extern const char* const replayCommand;

} // namespace safety::tested_program
