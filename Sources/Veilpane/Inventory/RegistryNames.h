#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <cstdint>
#include <optional>
#include <string>

/// The product name that the I/O registry has for a monitor of the display's vendor and model. Two
/// monitors of one kind get the same name.
[[nodiscard]] std::optional<std::string> iokitDisplayName(CGDirectDisplayID displayID);

/// A property as an unsigned 32-bit number: a number truncated to 32 bits, a boolean, or the first
/// four bytes of data in the machine's byte order.
[[nodiscard]] std::optional<std::uint32_t> registryUInt32(io_registry_entry_t entry,
                                                          CFStringRef key);

/// The entry's product name: a text, or the best language of a localized table. Never empty.
[[nodiscard]] std::optional<std::string> registryProductName(io_registry_entry_t entry);
