#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <map>
#include <string>
#include <string_view>

namespace veilpane {

/// Display names by display ID, as the system profiler reports them. A name may be empty.
using ProfilerNames = std::map<CGDirectDisplayID, std::string>;

/// Reads the JSON that `system_profiler SPDisplaysDataType -json` prints. Entries of another shape
/// are left out; of two entries with one ID the later one counts. Output that is no such report
/// gives no names.
[[nodiscard]] ProfilerNames parseProfilerNames(std::string_view output);

} // namespace veilpane
