#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>

namespace simulated_mac {

struct CFReleaser {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// Owns one reference to a CoreFoundation object, or nothing.
using OwnedCF = std::unique_ptr<const void, CFReleaser>;

} // namespace simulated_mac
