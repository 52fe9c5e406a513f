#include "SimulatedMac/Calls/DisplayList.h"

#include <algorithm>

namespace simulated_mac {
namespace {

/// A list that is wrong at its beginning stays so when it is cut to the room for the right one.
void spoil(std::vector<uint32_t>& all, ListFault fault) {
    if (fault == ListFault::zero) {
        all.insert(all.begin(), kCGNullDirectDisplay);
    } else if (fault == ListFault::duplicated && !all.empty()) {
        all.insert(all.begin(), all.front());
    } else if (fault == ListFault::shortened && !all.empty()) {
        all.pop_back();
    }
}

} // namespace

CGError answerWithList(Call& call, std::vector<uint32_t> all, uint32_t capacity,
                       CGDirectDisplayID* displays, uint32_t* count) {
    const ListFault fault = call.fault() ? call.fault()->list : ListFault::none;
    spoil(all, fault);
    const std::size_t most = displays == nullptr ? all.size() : capacity;
    if (displays != nullptr) {
        all.resize(std::min<std::size_t>(all.size(), capacity));
        std::ranges::copy(all, displays);
    }
    if (count != nullptr) {
        *count = static_cast<uint32_t>(fault == ListFault::tooLarge ? most + 1 : all.size());
        call.note("count", *count);
    }
    call.note("displays", all);
    return call.returns(kCGErrorSuccess);
}

} // namespace simulated_mac
