#pragma once

#include "MacProbe/Json.h"

#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace macprobe {

/// A node of the I/O registry with what is below it in the service plane.
struct RegistryEntry {
    enum class Kind { framebuffer, pipe, i2cInterface, other };

    std::string className;
    Kind kind = Kind::other;
    std::uint64_t number = 0; ///< the registry's own
    Json::Object properties;  ///< those that are told
    std::uint32_t i2cBuses = 0;
    std::vector<RegistryEntry> children;

    [[nodiscard]] const Json* property(const std::string& name) const;
};

/// The branches of all displays: framebuffers of Intel Macs, pipes of Apple silicon, and nodes that
/// describe monitors without being below one of these.
[[nodiscard]] std::vector<RegistryEntry> displayBranches();

/// For each display that CoreGraphics knows a service port of, the port's number in the registry.
[[nodiscard]] std::map<CGDirectDisplayID, std::uint64_t>
servicePorts(const std::vector<CGDirectDisplayID>& displays);

/// As a scene writes them.
[[nodiscard]] Json sceneRegistry(const std::vector<RegistryEntry>& branches,
                                 const std::map<CGDirectDisplayID, std::uint64_t>& ports);

} // namespace macprobe
