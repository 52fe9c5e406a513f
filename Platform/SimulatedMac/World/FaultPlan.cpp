#include "SimulatedMac/World/FaultPlan.h"

#include <algorithm>

namespace simulated_mac {

FaultPlan::FaultPlan(const std::vector<SceneFault>& faults) {
    std::ranges::for_each(faults, [this](const SceneFault& fault) { add(fault); });
}

void FaultPlan::add(const SceneFault& fault) {
    entries_.push_back({fault, 0});
}
void FaultPlan::clear() {
    entries_.clear();
}

bool FaultPlan::names(const std::string& function) const {
    return std::ranges::any_of(entries_,
                               [&](const Entry& entry) { return entry.fault.call == function; });
}

std::optional<SceneFault> FaultPlan::count(const std::string& function) {
    ++calls_;
    std::optional<SceneFault> due;
    for (Entry& entry : entries_) {
        if (entry.fault.call != "*" && entry.fault.call != function) {
            continue;
        }
        ++entry.calls;
        const bool isItsTurn = entry.fault.nth == 0 || entry.fault.nth == entry.calls ||
                               (entry.fault.lasts && entry.fault.nth < entry.calls);
        if (!due && isItsTurn) {
            due = entry.fault;
        }
    }
    fired_ += due.has_value() ? 1 : 0;
    return due;
}

} // namespace simulated_mac
