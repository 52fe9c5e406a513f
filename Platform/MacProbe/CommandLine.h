#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <expected>
#include <string>
#include <vector>

namespace macprobe {

/// What a person, or the probe itself for its companions, asks for.
struct Command {
    enum class Kind {
        help,
        version,
        scene,
        ask,
        askBySwitching,
        watch,       ///< a companion: brings a display back when nobody else does
        dim,         ///< a companion: sets a display's gamma tables and ends
        listScreens, ///< a companion: prints the displays that have a screen
    };

    Kind kind = Kind::help;
    CGDirectDisplayID display = kCGNullDirectDisplay; ///< where the kind needs one
};

/// The words after the program's name. The error is a line for the user.
[[nodiscard]] std::expected<Command, std::string>
commandFrom(const std::vector<std::string>& words);

/// What `--help` prints.
[[nodiscard]] const char* helpText();

// Exit statuses; the last two are those of <sysexits.h>.
constexpr int exitDone = 0;
constexpr int exitFailed = 1; ///< refused or failed, and said why
constexpr int exitUsage = 64;
constexpr int exitNoOutput = 74;

} // namespace macprobe
