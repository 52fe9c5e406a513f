#include "MacProgram/Runtime/ObjectiveCLibrary.h"

#include "MacProgram/Processor/Imports.h"
#include "MacProgram/Runtime/Exceptions.h"

#import <Foundation/Foundation.h>

#include <map>
#include <objc/message.h>
#include <objc/runtime.h>

extern "C" IMP mac_program_superclass_method(const void* call, SEL selector);

IMP mac_program_superclass_method(const void* call, SEL selector) {
    struct SuperclassCall {
        id receiver;
        Class current;
    };
    const auto& named = *static_cast<const SuperclassCall*>(call);
    objc_super lookup = {named.receiver, class_getSuperclass(named.current)};
    return objc_msg_lookup_super(&lookup, selector);
}

namespace mac_program {
namespace {

/// Begins as the type information of a C++ exception does.
struct ExceptionType {
    const void* table = nullptr;
    const char* name = nullptr;
    Class caught = Nil;
};

id retain(id object) {
    return [object retain];
}
void release(id object) {
    [object release];
}
id autorelease(id object) {
    return [object autorelease];
}
id allocate(Class made) {
    return [made alloc];
}
id allocateAndInitialize(Class made) {
    return [[made alloc] init];
}
void* pushPool() {
    return [[NSAutoreleasePool alloc] init];
}
void popPool(void* pool) {
    [static_cast<NSAutoreleasePool*>(pool) drain];
}

// What the Mac's runtime keeps of methods that it has looked up; the one here has its own.
const std::uint64_t emptyCache[8] = {};

} // namespace

const void* exceptionType(Class caught) {
    [[clang::no_destroy]] static std::map<Class, ExceptionType> types;
    ExceptionType& type = types[caught];
    type = {nullptr, class_getName(caught), caught};
    return &type;
}

bool catches(const void* type, id thrown) {
    return type == nullptr ||
           [thrown isKindOfClass:static_cast<const ExceptionType*>(type)->caught];
}

Library objectiveC() {
    Library library = {"/usr/lib/libobjc.A.dylib",
                       {
                           function("_objc_retain", retain),
                           function("_objc_release", release),
                           function("_objc_autorelease", autorelease),
                           function("_objc_alloc", allocate),
                           function("_objc_alloc_init", allocateAndInitialize),
                           function("_objc_autoreleasePoolPush", pushPool),
                           function("_objc_autoreleasePoolPop", popPool),
                           function("_objc_enumerationMutation", objc_enumerationMutation),
                           function("_objc_begin_catch", beginCatch),
                           function("_objc_end_catch", endCatch),
                           function("___objc_personality_v0", personality),
                           data("__objc_empty_cache", emptyCache),
                       },
                       {"NSObject"}};
    const auto messages = messageImportsOfProcessor();
    library.symbols.insert(library.symbols.end(), messages.begin(), messages.end());
    return library;
}

} // namespace mac_program
