#pragma once

// The base of every test that calls the platform: a Mac of its own, and the calls that it got.

#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

/// A test of the program's own functions on a simulated Mac. Every test ends with an empty ledger.
class SimulatedMacTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(simulated_mac::ledger::outstanding(), ""); }

    /// Puts the test on a new Mac made from a scene file's text; without one on the built-in
    /// `desk`.
    static simulated_mac::Mac& boot() {
        return simulated_mac::Mac::boot(simulated_mac::Scene::desk());
    }
    static simulated_mac::Mac& boot(const std::string& scene) {
        return simulated_mac::Mac::boot(scene);
    }

    /// The calls since the last `Mac::clearCalls`, as "name(arg, arg) = result", those of the named
    /// functions only; of all functions when none is named.
    static std::vector<std::string> calls(const std::vector<std::string>& functions = {});
};
