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
    /// To how many calls one has applied so far, those included that were cleared since.
    [[nodiscard]] uint64_t fired() const { return fired_; }

private:
    struct Entry {
        SceneFault fault;
        int calls;
    };
    std::vector<Entry> entries_;
    uint64_t calls_ = 0;
    uint64_t fired_ = 0;
};

} // namespace simulated_mac
