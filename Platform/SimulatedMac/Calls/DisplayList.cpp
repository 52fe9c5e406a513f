#include "SimulatedMac/Calls/DisplayList.h"

#include <algorithm>

namespace simulated_mac {

CGError answerWithList(Call& call, std::vector<uint32_t> all, uint32_t capacity,
                       CGDirectDisplayID* displays, uint32_t* count) {
    if (displays != nullptr) {
        all.resize(std::min<std::size_t>(all.size(), capacity));
        std::ranges::copy(all, displays);
    }
    if (count != nullptr) {
        *count = static_cast<uint32_t>(all.size());
    }
    call.note("displays", all);
    return call.returns(kCGErrorSuccess);
}

} // namespace simulated_mac
