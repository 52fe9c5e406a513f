#import "Runtime/MethodReplacement.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string_view>

IMP replaceInstanceMethod(Class theClass, SEL selector, IMP replacement) {
    Method const method = class_getInstanceMethod(theClass, selector);
    if (method == nullptr) {
        std::fprintf(stderr, "GNUstep's class %s has no method %s\n", class_getName(theClass),
                     sel_getName(selector));
        std::abort();
    }
    const IMP former = method_getImplementation(method);
    if (!class_addMethod(theClass, selector, replacement, method_getTypeEncoding(method))) {
        method_setImplementation(method, replacement);
    }
    return former;
}

IMP replaceClassMethodOf(Class theClass, SEL selector, IMP replacement) {
    return replaceInstanceMethod(object_getClass(static_cast<id>(theClass)), selector, replacement);
}

bool isInGNUstep(const void* returnAddress) {
    Dl_info image = {};
    return dladdr(returnAddress, &image) != 0 &&
           std::string_view(image.dli_fname).find("libgnustep-") != std::string_view::npos;
}
