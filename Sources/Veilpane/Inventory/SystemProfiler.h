#pragma once

#include <optional>
#include <string>

namespace veilpane {

/// Runs the system profiler and waits for it to end. Returns all that it printed about displays, as
/// JSON; absent when it could not be started. Its exit status does not matter.
[[nodiscard]] std::optional<std::string> runSystemProfiler();

} // namespace veilpane
