#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <optional>
#include <string>

namespace veilpane {

/// The product name that the I/O registry has for a monitor of the display's vendor and model. Two
/// monitors of one kind get the same name.
[[nodiscard]] std::optional<std::string> iokitDisplayName(CGDirectDisplayID displayID);

/// The entry's product name: a text, or the best language of a localized table. Never empty.
[[nodiscard]] std::optional<std::string> registryProductName(io_registry_entry_t entry);

} // namespace veilpane
