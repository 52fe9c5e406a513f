#pragma once

#include "SimulatedMac/World/Scene.h"

#include <IOKit/IOKitLib.h>

#include <cstdint>

namespace simulated_mac {

/// The node behind a registry entry that the program holds; ends the process when it does not.
[[nodiscard]] const RegistryNode& nodeFor(io_registry_entry_t entry, const char* call);

/// A handle for the node with one more reference for the program. I2C bus `n` of a framebuffer is
/// its n-th I2C interface child, or the framebuffer's own child-less interface.
[[nodiscard]] io_object_t retainedEntry(const RegistryNode& node);

/// What CGDisplayIOServicePort answers: a handle that stays the graphics system's own, or 0.
[[nodiscard]] io_service_t servicePortForDisplay(uint32_t displayID);

/// Whether a class is `ancestor` or derives from it, as on a Mac.
[[nodiscard]] bool conformsTo(const std::string& className, const std::string& ancestor);

} // namespace simulated_mac
