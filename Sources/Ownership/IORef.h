#pragma once

#include "Ownership/Owned.h"

#include <IOKit/IOKitLib.h>

namespace veilpane {

struct IOObjectTraits {
    using Raw = io_object_t;
    static constexpr Raw null = IO_OBJECT_NULL;
    static void retain(Raw object) { IOObjectRetain(object); }
    static void release(Raw object) { IOObjectRelease(object); }
};

/// Owns an I/O Kit object: a registry entry or an iterator.
using IORef = Owned<IOObjectTraits>;

} // namespace veilpane
