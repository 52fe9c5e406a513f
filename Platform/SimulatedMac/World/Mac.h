#pragma once

#include "SimulatedMac/World/AttendedMac.h"

#include <string>

namespace simulated_mac {

/// The Mac that this process runs on, in the hands of a test, which boots it and plans its faults.
class Mac final : public AttendedMac {
public:
    static Mac& current();

    /// Puts this process on a new Mac whose state lives in a temporary directory of its own. Call
    /// log, fault counts and ledger start empty. Throws SceneError.
    static Mac& boot(const Scene& scene);
    /// Like `boot` with a scene file's text.
    static Mac& boot(const std::string& sceneText);

    /// Ends the Mac that this process booted, with its temporary directory. For processes that end
    /// by `_exit`, which nothing else tidies up after.
    static void shutDown();

    // Faults, beside those of the scene.
    /// Counts from now on. Throws std::invalid_argument for a fault that a scene may not have.
    void failCall(const SceneFault& fault);
    void clearFaults();
    [[nodiscard]] bool faultFired() const;

private:
    using AttendedMac::AttendedMac;
};

} // namespace simulated_mac
