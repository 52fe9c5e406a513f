#include "ObjectiveC/SystemLibraries.h"

#include <dlfcn.h>
#include <string_view>

bool isInSystemLibrary(const void* returnAddress) {
    Dl_info image = {};
    return dladdr(returnAddress, &image) != 0 &&
           std::string_view(image.dli_fname).find("libgnustep-") != std::string_view::npos;
}
