#pragma once

#include "MacProgram/Tests/TinyProgram.h"

#include <set>
#include <string>

namespace mac_program {

/// An Objective-C class with one method and one instance variable, to be damaged at will.
struct TinyClass {
    // Where its pointers lie, from the data's beginning.
    static constexpr std::size_t superclassPlace = 0x48;
    static constexpr std::size_t implementationPlace = 0xD8;
    static constexpr std::size_t namePlace = 0x118;
    static constexpr std::size_t protocolsPlace = 0x128;
    static constexpr std::size_t variableOffsetPlace = 0x208;

    std::string name = "TinyClass";
    std::uint32_t flags = 0;
    std::uint32_t metaclassFlags = 1;
    std::uint32_t methodSize = 24;
    std::uint32_t methodCount = 1;
    std::uint32_t instanceBegin = 8;
    std::uint32_t instanceSize = 12;
    std::uint32_t metaclassSize = 40;
    std::uint64_t variableOffset = 8; ///< of its only instance variable, of 4 bytes
    std::uint32_t variableAlignment = 2;
    bool inheritsItself = false; ///< instead of NSObject
    std::string superclass = "_OBJC_CLASS_$_NSObject";
    bool inheritsNothing = false;
    std::uint64_t protocols = 0;        ///< from the data's beginning; 0 for none
    std::set<std::size_t> unmoved = {}; ///< pointers that are not rebased

    void addTo(TinyProgram& program) const;
};

} // namespace mac_program
