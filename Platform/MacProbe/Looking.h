#pragma once

#include "MacProbe/Answers.h"

namespace macprobe {

/// Answers what can be answered without changing anything; where no display is online, that is what
/// a Mac without a session does, and nothing else. It takes seconds, as the system profiler
/// does.
[[nodiscard]] Answers answersByLooking();

} // namespace macprobe
