#pragma once

#include <sys/types.h>

namespace simulated_mac {

/// The program has launched the system profiler as this process: from now on its reads may be
/// those of the profiler's output, until it has waited for the process.
void watchProfiler(pid_t profiler);

} // namespace simulated_mac
