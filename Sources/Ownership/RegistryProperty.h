#pragma once

#include "Ownership/CFRef.h"

#include <IOKit/IOKitLib.h>

/// A snapshot of one property of a registry entry; empty when the entry lacks it.
[[nodiscard]] inline CFRef<CFTypeRef> copyRegistryProperty(io_registry_entry_t entry,
                                                           CFStringRef key) {
    return CFRef<CFTypeRef>::adopt(
        IORegistryEntryCreateCFProperty(entry, key, kCFAllocatorDefault, 0));
}
