#pragma once

#include "SimulatedMac/World/Scene.h"

#include <optional>
#include <string>
#include <vector>

namespace simulated_mac {

/// Which calls of this process fail, and how. Each fault counts the calls that it is for.
class FaultPlan {
public:
    explicit FaultPlan(const std::vector<SceneFault>& faults);

    void add(const SceneFault& fault); ///< counts from now on
    void clear();
    /// Counts a call; the fault that applies to it, if any.
    [[nodiscard]] std::optional<SceneFault> count(const std::string& function);
    /// Whether a fault is for calls of this very name.
    [[nodiscard]] bool names(const std::string& function) const;
    /// How many calls were counted.
    [[nodiscard]] uint64_t calls() const { return calls_; }
    /// Whether one has applied to a call so far, also one that was cleared since.
    [[nodiscard]] bool fired() const { return fired_; }

private:
    struct Entry {
        SceneFault fault;
        int calls;
    };
    std::vector<Entry> entries_;
    uint64_t calls_ = 0;
    bool fired_ = false;
};

} // namespace simulated_mac
