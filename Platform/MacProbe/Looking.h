#pragma once

#include "MacProbe/Answers.h"

namespace macprobe {

/// Answers what can be answered without changing anything. It takes seconds, as the system profiler
/// does.
[[nodiscard]] Answers answersByLooking();

} // namespace macprobe
