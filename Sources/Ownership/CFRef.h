#pragma once

#include "Ownership/OwnedReference.h"

#include <CoreFoundation/CoreFoundation.h>

template <class Ref>
struct CFTraits {
    using Raw = Ref;
    static constexpr Raw null = nullptr;
    static void retain(Raw object) { CFRetain(object); }
    static void release(Raw object) { CFRelease(object); }
};

/// Owns a CoreFoundation object.
template <class Ref>
using CFRef = OwnedReference<CFTraits<Ref>>;
