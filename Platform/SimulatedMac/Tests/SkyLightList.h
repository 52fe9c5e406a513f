#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <dlfcn.h>

namespace simulated_mac {

using ListFunction = CGError(uint32_t, CGDirectDisplayID*, uint32_t*);

/// SkyLight's list of displays, as a program finds it; null where SkyLight has none.
inline ListFunction* skyLightList() {
    void* const skyLight =
        dlopen("/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight", RTLD_LAZY);
    return reinterpret_cast<ListFunction*>(dlsym(skyLight, "SLSGetDisplayList"));
}

} // namespace simulated_mac
