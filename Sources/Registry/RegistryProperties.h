#pragma once

#include "Ownership/CFRef.h"

#include <IOKit/IOKitLib.h>

#include <cstdint>
#include <optional>

namespace veilpane {

/// A snapshot of one property of a registry entry; empty when the entry lacks it.
[[nodiscard]] CFRef<CFTypeRef> copyRegistryProperty(io_registry_entry_t entry, CFStringRef key);

[[nodiscard]] bool isNumber(CFTypeRef object);

// Two ways of reading a number as 32 bits. They differ for numbers above 2147483647, of which a
// read as a signed 32-bit number reports a loss and writes what is not documented.

/// The number read as a signed 32-bit one, whatever that reports: 0 unless something was written.
/// The object must be a number.
[[nodiscard]] std::uint32_t signedWord(CFTypeRef number);

/// The number read as 64 bits and cut to its low 32. The object must be a number.
[[nodiscard]] std::uint32_t truncatedWord(CFTypeRef number);

/// The first four bytes of a data object in the machine's byte order; absent when there are fewer,
/// or when the object is no data.
[[nodiscard]] std::optional<std::uint32_t> firstWordOfData(CFTypeRef object);

/// A property as an unsigned 32-bit number: a number cut to 32 bits, a boolean, or the first four
/// bytes of data. Absent for anything else.
[[nodiscard]] std::optional<std::uint32_t> registryUInt32(io_registry_entry_t entry,
                                                          CFStringRef key);

} // namespace veilpane
