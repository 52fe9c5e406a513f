#pragma once

// Faults of the simulated Mac, in words:
//
//     fails("CGBeginDisplayConfiguration").with(1001)
//     fails("IOI2CSendRequest").nth(2).withNull()
//     fails("CGGetOnlineDisplayList").every().with(1000)

#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <string>
#include <utility>

/// A call that will not do what it should; `with` or `withNull` says what it does instead.
class FailingCall {
public:
    explicit FailingCall(std::string function) { fault_.call = std::move(function); }

    /// Counted from 1 and from when the fault is planned; the first unless told otherwise.
    [[nodiscard]] FailingCall nth(int ordinal) const {
        FailingCall chosen(*this);
        chosen.fault_.nth = ordinal;
        return chosen;
    }
    [[nodiscard]] FailingCall every() const { return nth(0); }

    /// It returns this code and does nothing else.
    [[nodiscard]] simulated_mac::SceneFault with(std::int64_t code) const {
        simulated_mac::SceneFault fault = fault_;
        fault.returns = code;
        return fault;
    }
    /// It reports success, with a null or zero result.
    [[nodiscard]] simulated_mac::SceneFault withNull() const {
        simulated_mac::SceneFault fault = fault_;
        fault.null = true;
        return fault;
    }

private:
    simulated_mac::SceneFault fault_;
};

/// The function of that name fails; "*" stands for every function.
inline FailingCall fails(std::string function) {
    return FailingCall(std::move(function));
}
