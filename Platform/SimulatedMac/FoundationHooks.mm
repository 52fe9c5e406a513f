#import "FoundationHooks.h"

#include "Complaint.h"

#import <objc/runtime.h>

#include <dlfcn.h>
#include <string>
#include <string_view>

namespace {

IMP replace(Method method, SEL selector, IMP replacement) {
    if (method == nullptr) {
        simulated_mac::crash(std::string("no method ") + sel_getName(selector) + " to replace");
    }
    return method_setImplementation(method, replacement);
}

} // namespace

IMP replaceMethod(Class theClass, SEL selector, IMP replacement) {
    return replace(class_getInstanceMethod(theClass, selector), selector, replacement);
}

IMP replaceClassMethod(Class theClass, SEL selector, IMP replacement) {
    return replace(class_getClassMethod(theClass, selector), selector, replacement);
}

bool isInGNUstep(const void* returnAddress) {
    Dl_info image = {};
    return dladdr(returnAddress, &image) != 0 &&
           std::string_view(image.dli_fname).find("libgnustep-") != std::string_view::npos;
}
