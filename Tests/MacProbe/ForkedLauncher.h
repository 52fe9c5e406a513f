#pragma once

#include "MacProbe/Companion.h"
#include "SimulatedMac/World/Mac.h"

/// Starts companions as copies of this process, on its simulated Mac. What is planned to go wrong
/// in this process does not go wrong in them.
class ForkedLauncher final : public macprobe::CompanionLauncher {
public:
    explicit ForkedLauncher(const macprobe::Patience& patience) : patience_(patience) {}

    [[nodiscard]] std::optional<macprobe::CompanionProcess>
    start(const macprobe::Command& command) override;

private:
    macprobe::Patience patience_;
};
