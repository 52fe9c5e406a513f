#pragma once

#include "Ownership/Owned.h"

#include <CoreFoundation/CoreFoundation.h>

namespace veilpane {

template <class Ref>
struct CFTraits {
    using Raw = Ref;
    static constexpr Raw null = nullptr;
    static void retain(Raw object) { CFRetain(object); }
    static void release(Raw object) { CFRelease(object); }
};

/// Owns a CoreFoundation object.
template <class Ref>
using CFRef = Owned<CFTraits<Ref>>;

} // namespace veilpane
