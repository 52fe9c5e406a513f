#pragma once

#include "SimulatedMac/World/AttendedMac.h"

#include <string>

namespace simulated_mac {

class Mac;

/// A call that is still to come, for saying what happens around it. The lines are verbs, as in
/// "unplug 3"; bad ones throw VerbError.
class CallMoment {
public:
    CallMoment(Mac& mac, std::string call, int nth)
        : mac_(mac), call_(std::move(call)), nth_(nth) {}
    const CallMoment&
    before(const std::string& line) const;                  ///< the call answers from the new state
    const CallMoment& after(const std::string& line) const; ///< only later calls do

private:
    Mac& mac_;
    std::string call_;
    int nth_;
};

/// The Mac that this process runs on, in the hands of a test, which boots it and plans its faults.
class Mac final : public AttendedMac {
public:
    static Mac& current();

    /// Puts this process on a new Mac whose state lives in memory that processes forked from now on
    /// share. Call log, fault counts and ledger start empty. Throws SceneError.
    static Mac& boot(const Scene& scene);
    /// Like `boot` with a scene file's text.
    static Mac& boot(const std::string& sceneText);

    /// Ends the Mac that this process booted, with what it has left in the temporary directory. For
    /// processes that end by `_exit`, which nothing else tidies up after.
    static void shutDown();

    using AttendedMac::listen;

    // Faults, beside those of the scene.
    /// Counts from now on. Throws std::invalid_argument for a fault that a scene may not have.
    void failCall(const SceneFault& fault);
    void clearFaults();
    [[nodiscard]] bool faultFired() const { return faultsFired() > 0; }
    [[nodiscard]] uint64_t faultsFired() const; ///< so far, those included that were cleared since

    // Events, beside those of the scene.
    /// What happens around the `nth` call of the function from now on; 0 is every call, "*" any
    /// function.
    [[nodiscard]] CallMoment during(const std::string& call, int nth = 1);
    void clearEvents();

private:
    friend class CallMoment;
    void schedule(const SceneEvent& event);

    using AttendedMac::AttendedMac;
};

} // namespace simulated_mac
