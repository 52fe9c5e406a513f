#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>

namespace simulated_mac {

class MacState;

// The configurations between CGBeginDisplayConfiguration and their end. One that has ended stays
// recognisable: a further use is the caller's mistake and ends the process, apart from a Cancel
// after a failed Complete, whose effect Apple leaves open; here it does nothing and fails. `call`
// is the C function to name then.

[[nodiscard]] CGDisplayConfigRef beginConfiguration();
/// Its number in this process, from 1; 0 for a null reference. For the call log.
[[nodiscard]] int numberOf(CGDisplayConfigRef config);
void requireLive(CGDisplayConfigRef config, const char* call);
/// A change to make when the configuration is completed.
void addChange(CGDisplayConfigRef config, std::function<void(MacState&, bool permanently)> change);
[[nodiscard]] CGError completeConfiguration(CGDisplayConfigRef config, CGConfigureOption option,
                                            const char* call);
/// Ends it as a failed completion does: nothing is changed, and the reference is dead.
void spendConfiguration(CGDisplayConfigRef config, const char* call);
/// Lets a completed configuration count as one whose completion failed.
void markFailed(CGDisplayConfigRef config);
[[nodiscard]] CGError cancelConfiguration(CGDisplayConfigRef config, const char* call);

} // namespace simulated_mac
