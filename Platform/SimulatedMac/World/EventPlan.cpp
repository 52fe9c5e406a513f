#include "SimulatedMac/World/EventPlan.h"

#include <algorithm>

namespace simulated_mac {

EventPlan::EventPlan(const std::vector<SceneEvent>& events) {
    std::ranges::for_each(events, [this](const SceneEvent& event) { add(event); });
}

void EventPlan::add(const SceneEvent& event) {
    entries_.push_back({event, 0});
}
void EventPlan::clear() {
    entries_.clear();
}

std::vector<SceneEvent> EventPlan::count(SceneEvent::Moment moment, const std::string& function) {
    std::vector<SceneEvent> due;
    for (auto& [event, calls] : entries_) {
        if (event.moment != moment || (event.call != "*" && event.call != function)) {
            continue;
        }
        ++calls;
        if (event.nth == 0 || event.nth == calls) {
            due.push_back(event);
        }
    }
    return due;
}

} // namespace simulated_mac
