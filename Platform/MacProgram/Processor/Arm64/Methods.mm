// Methods with arguments that they do not name get a second implementation, under another name,
// which takes them in a Mac's way.

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Processor/Arm64/AnonymousArguments.h"
#include "MacProgram/Processor/Imports.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <objc/runtime.h>
#include <span>

using mac_program::AnonymousArguments;

extern "C" {

id mac_program_array_with(Class made, SEL selector, id first, AnonymousArguments others);
id mac_program_formatted_string_with(Class made, SEL selector, NSString* format,
                                     AnonymousArguments arguments);

// The list ends with nothing.
id mac_program_array_with(Class made, SEL, id first, AnonymousArguments others) {
    NSMutableArray* const objects = [NSMutableArray array];
    const auto* next = static_cast<const id*>(others);
    for (id object = first; object != nil; object = *next++) {
        [objects addObject:object];
    }
    return [made arrayWithArray:objects];
}

id mac_program_formatted_string_with(Class made, SEL, NSString* format,
                                     AnonymousArguments arguments) {
    return [[[made alloc] initWithFormat:format
                               arguments:mac_program::listOf(arguments)] autorelease];
}

} // extern "C"

namespace mac_program {
namespace {

struct Bridge {
    std::string_view selector;
    const char* substitute;
    const char* ofClass;
    void (*implementation)();
};

constexpr Bridge bridges[] = {
    {"arrayWithObjects:", "mac_program_arrayWithObjects:", "NSArray", mac_program_array},
    {"stringWithFormat:", "mac_program_stringWithFormat:", "NSString",
     mac_program_formatted_string},
};

// Of Foundation and AppKit. A method that is in neither list takes what its declaration names.
constexpr std::string_view notBridged[] = {
    "appendFormat:",
    "dictionaryWithObjectsAndKeys:",
    "expressionWithFormat:",
    "handleFailureInFunction:file:lineNumber:description:",
    "handleFailureInMethod:object:file:lineNumber:description:",
    "initWithColorsAndLocations:",
    "initWithFormat:",
    "initWithFormat:locale:",
    "initWithObjects:",
    "initWithObjectsAndKeys:",
    "localizedStringWithFormat:",
    "orderedSetWithObjects:",
    "predicateWithFormat:",
    "raise:format:",
    "setWithObjects:",
    "stringByAppendingFormat:",
};

std::string addedFor(const Bridge& bridge) {
    Class const metaclass = object_getClass(objc_getClass(bridge.ofClass));
    class_addMethod(metaclass, sel_registerName(bridge.substitute),
                    reinterpret_cast<IMP>(bridge.implementation), "@@:@^v");
    return bridge.substitute;
}

} // namespace

std::string methodFor(const std::string& selector) {
    const auto* const bridge = std::ranges::find(bridges, selector, &Bridge::selector);
    if (bridge != std::end(bridges)) {
        return addedFor(*bridge);
    }
    if (std::ranges::find(notBridged, selector) != std::end(notBridged)) {
        throw BadProgram("arguments of " + selector +
                         " are passed in a way that is not known here");
    }
    return selector;
}

} // namespace mac_program
