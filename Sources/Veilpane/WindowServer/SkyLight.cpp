#include "Veilpane/WindowServer/SkyLight.h"

#include <dlfcn.h>

namespace veilpane {

namespace {

template <class Function>
Function lookUp(const char* name) {
    void* const skyLight =
        dlopen("/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight", RTLD_LAZY);
    return skyLight == nullptr ? nullptr : reinterpret_cast<Function>(dlsym(skyLight, name));
}

} // namespace

SkyLight::ConfigureDisplayEnabled SkyLight::configureDisplayEnabled() {
    return lookUp<ConfigureDisplayEnabled>("SLSConfigureDisplayEnabled");
}

SkyLight::GetDisplayList SkyLight::getDisplayList() {
    return lookUp<GetDisplayList>("SLSGetDisplayList");
}

bool SkyLight::isAvailable() {
    return configureDisplayEnabled() != nullptr;
}

} // namespace veilpane
