#pragma once

#include "SimulatedMac/World/SceneEvent.h"

#include <string>
#include <vector>

namespace simulated_mac {

/// What happens to the Mac around which calls of this process. Each event counts the calls that it
/// is for.
class EventPlan {
public:
    explicit EventPlan(const std::vector<SceneEvent>& events);

    void add(const SceneEvent& event); ///< counts from now on
    void clear();
    /// Counts a call that begins (`before`) or ends (`after`); the events that are due, in the
    /// order in which they were added.
    [[nodiscard]] std::vector<SceneEvent> count(SceneEvent::Moment moment,
                                                const std::string& function);

private:
    struct Entry {
        SceneEvent event;
        int calls;
    };
    std::vector<Entry> entries_;
};

} // namespace simulated_mac
