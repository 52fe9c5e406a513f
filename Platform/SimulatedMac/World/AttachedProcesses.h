#pragma once

#include "SimulatedMac/World/ProcessIdentity.h"
#include "SimulatedMac/World/StateStore.h"

#include <functional>
#include <vector>

namespace simulated_mac {

/// The processes that run on a Mac: each that has made a platform call. They are listed in the
/// Mac's store.
class AttachedProcesses {
public:
    explicit AttachedProcesses(const StateStore& store) : store_(store) {}

    /// Adds this process, at its first call.
    void attachThisProcess();

    /// Ends them as a logout does, this process excepted: asks with SIGTERM, waits eight seconds
    /// and kills those that are left. Returns when they have ended.
    void endOthers() const;

    /// Like `endOthers`, but this process ends, too, and `afterwards` is done when all have
    /// ended, by a process of its own. Returns only in a process that does not end when it is
    /// asked to; it is killed later.
    void endAll(const std::function<void()>& afterwards) const;

private:
    /// Those that run, without this process.
    [[nodiscard]] std::vector<ProcessIdentity> others() const;
    [[nodiscard]] std::vector<ProcessIdentity> listed() const;

    const StateStore& store_;
    int attachedPid_ = 0;
};

} // namespace simulated_mac
