#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

namespace veilpane {

/// The two functions of the private SkyLight framework that the program uses.
///
/// No header declares them. The framework is opened and the function looked up at every use,
/// because a macOS may lack either; the handle is never closed, so the returned addresses stay
/// valid.
namespace SkyLight {

/// Adds to a display configuration that a display shall be enabled or disabled. Nothing is added
/// unless it returns kCGErrorSuccess.
using ConfigureDisplayEnabled = CGError (*)(CGDisplayConfigRef config, CGDirectDisplayID display,
                                            bool enabled);

/// Lists every display that the window server knows, disabled ones included. With a capacity of 0
/// and no array it only counts them. What the array and the count hold after a failure is unknown.
using GetDisplayList = CGError (*)(std::uint32_t capacity, CGDirectDisplayID* displays,
                                   std::uint32_t* count);

/// Null when this macOS has no SLSConfigureDisplayEnabled.
[[nodiscard]] ConfigureDisplayEnabled configureDisplayEnabled();

/// Null when this macOS has no SLSGetDisplayList.
[[nodiscard]] GetDisplayList getDisplayList();

/// Whether displays can be disconnected through the window server on this macOS.
[[nodiscard]] bool isAvailable();

} // namespace SkyLight

} // namespace veilpane
