#pragma once

namespace veilpane {

/// The exit statuses of the command line.
enum ExitStatus {
    ExitStatusSuccess = 0,
    ExitStatusFailure = 1,
    ExitStatusUsage = 2,
};

} // namespace veilpane
