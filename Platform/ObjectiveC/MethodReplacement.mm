#import "ObjectiveC/MethodReplacement.h"

#include <cstdio>
#include <cstdlib>

IMP replaceInstanceMethod(Class theClass, SEL selector, IMP replacement) {
    Method const method = class_getInstanceMethod(theClass, selector);
    if (method == nullptr) {
        std::fprintf(stderr, "the class %s has no method %s\n", class_getName(theClass),
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
