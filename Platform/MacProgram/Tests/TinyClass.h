#pragma once

#include "MacProgram/Tests/TinyProgram.h"

#include <set>
#include <string>

namespace mac_program {

/// An Objective-C class with one method, to be damaged at will.
struct TinyClass {
    // Where its pointers lie, from the data's beginning.
    static constexpr std::size_t superclassPlace = 0x48;
    static constexpr std::size_t implementationPlace = 0xD8;
    static constexpr std::size_t namePlace = 0x118;

    std::string name = "TinyClass";
    std::uint32_t flags = 0;
    std::uint32_t metaclassFlags = 1;
    std::uint32_t methodSize = 24;
    std::uint32_t methodCount = 1;
    bool inheritsItself = false;        ///< instead of NSObject
    std::set<std::size_t> unmoved = {}; ///< pointers that are not rebased

    void addTo(TinyProgram& program) const;
};

} // namespace mac_program
