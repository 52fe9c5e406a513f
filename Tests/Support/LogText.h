#pragma once

// Reading the event log, whose times differ from run to run.

#include <string>

/// The log with "[time]" in the place of every line's time.
std::string withoutTimes(const std::string& log);
