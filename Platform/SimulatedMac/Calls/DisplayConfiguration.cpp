#include "SimulatedMac/Calls/DisplayConfiguration.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/RunningMac.h"

#include <deque>
#include <vector>

struct _CGDisplayConfigRef {
    enum class Phase { live, completed, failed, cancelled };

    int number;
    Phase phase = Phase::live;
    std::vector<std::function<void(simulated_mac::MacState&, bool)>> changes;
};

namespace simulated_mac {
namespace {

using Phase = _CGDisplayConfigRef::Phase;

std::deque<_CGDisplayConfigRef>& configurations() {
    static std::deque<_CGDisplayConfigRef> all;
    return all;
}

void end(CGDisplayConfigRef config, Phase phase, const char* call) {
    requireLive(config, call);
    ledger::closed(Resource::displayConfiguration, ledger::handle(config), call);
    config->phase = phase;
}

} // namespace

CGDisplayConfigRef beginConfiguration() {
    const int number = static_cast<int>(configurations().size()) + 1;
    configurations().push_back({number, Phase::live, {}});
    CGDisplayConfigRef const config = &configurations().back();
    ledger::opened(Resource::displayConfiguration, ledger::handle(config),
                   "display configuration " + std::to_string(number));
    return config;
}

int numberOf(CGDisplayConfigRef config) {
    return config == nullptr ? 0 : config->number;
}

void requireLive(CGDisplayConfigRef config, const char* call) {
    if (config == nullptr) {
        crash(call, "null display configuration");
    }
    if (config->phase != Phase::live) {
        crash(call,
              "display configuration " + std::to_string(config->number) + " has ended already");
    }
}

void addChange(CGDisplayConfigRef config, std::function<void(MacState&, bool)> change) {
    config->changes.push_back(std::move(change));
}

CGError completeConfiguration(CGDisplayConfigRef config, CGConfigureOption option,
                              const char* call) {
    // Changes for the process's own life only are not modelled.
    const bool supported = option == kCGConfigureForSession || option == kCGConfigurePermanently;
    end(config, supported ? Phase::completed : Phase::failed, call);
    if (!supported) {
        return kCGErrorIllegalArgument;
    }
    const bool permanently = option == kCGConfigurePermanently;
    RunningMac::current().change([&](MacState& state) {
        for (const auto& change : config->changes) {
            change(state, permanently);
        }
        state.finishConfiguration(permanently);
    });
    return kCGErrorSuccess;
}

void spendConfiguration(CGDisplayConfigRef config, const char* call) {
    end(config, Phase::failed, call);
}

void markFailed(CGDisplayConfigRef config) {
    config->phase = Phase::failed;
}

CGError cancelConfiguration(CGDisplayConfigRef config, const char* call) {
    if (config != nullptr && config->phase == Phase::failed) {
        return kCGErrorIllegalArgument;
    }
    end(config, Phase::cancelled, call);
    return kCGErrorSuccess;
}

} // namespace simulated_mac
