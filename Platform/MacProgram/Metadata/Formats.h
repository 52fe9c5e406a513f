#pragma once

// How the compiler lays out what it tells the Mac's Objective-C runtime, on 64 bits.

#include <cstdint>

namespace mac_program {

struct MacMethod {
    const char* name;
    const char* types;
    void (*implementation)();
};

/// Its elements follow it.
struct MacList {
    std::uint32_t elementSize;
    std::uint32_t count;
};

struct MacInstanceVariable {
    void* offset; ///< where the code looks it up; how many bytes, the processor says
    const char* name;
    const char* type;
    std::uint32_t alignment; ///< an exponent of 2
    std::uint32_t size;
};

struct MacProtocol {
    void* isa;
    const char* name;
};

/// The protocols follow it.
struct MacProtocolList {
    std::uint64_t count;
};

struct MacClassDescription {
    std::uint32_t flags;
    std::uint32_t instanceBegin; ///< where its own variables begin
    std::uint32_t instanceSize;
    std::uint32_t reserved;
    const void* strongLayout;
    const char* name;
    const MacList* methods;
    const MacProtocolList* protocols;
    const MacList* variables;
    const void* weakLayout;
    const void* properties;
};

struct MacClass {
    const MacClass* isa;
    const void* superclass; ///< a MacClass, or what a class of a library was bound to
    void* cache;
    void* table;
    const MacClassDescription* description;
};

struct MacString {
    const void* isa;
    std::uint64_t flags;
    const void* characters;
    std::uint64_t length; ///< bytes, or UTF-16 units
};

} // namespace mac_program
