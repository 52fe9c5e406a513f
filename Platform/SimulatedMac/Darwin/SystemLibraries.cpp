#include "ObjectiveC/SystemLibraries.h"

#include <dlfcn.h>
#include <string_view>

bool isInSystemLibrary(const void* returnAddress) {
    Dl_info image = {};
    if (dladdr(returnAddress, &image) == 0) {
        return false;
    }
    const std::string_view path = image.dli_fname;
    return path.starts_with("/System/") || path.starts_with("/usr/lib/");
}
