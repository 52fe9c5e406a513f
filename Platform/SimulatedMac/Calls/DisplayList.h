#pragma once

#include "SimulatedMac/Calls/Call.h"

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <vector>

namespace simulated_mac {

/// Answers a call with a list of displays, as CoreGraphics and SkyLight both do: at most `capacity`
/// of them, and how many these are; without an array to write to, how many there are at all. A
/// fault of the call can make the list a wrong one.
CGError answerWithList(Call& call, std::vector<uint32_t> all, uint32_t capacity,
                       CGDirectDisplayID* displays, uint32_t* count);

} // namespace simulated_mac
