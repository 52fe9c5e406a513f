#pragma once

#include <string_view>
#include <type_traits>

namespace mac_program {

/// Something that the program may ask for by name.
struct Symbol {
    std::string_view name; ///< as the Mach-O file spells it: a C name has an underscore before it
    void* address = nullptr;
    bool isFunction = false; ///< with the ordinary calling convention
};

template <class Function>
    requires std::is_function_v<Function>
Symbol function(std::string_view name, Function* address) {
    return {name, reinterpret_cast<void*>(address), true};
}

inline Symbol data(std::string_view name, const void* address) {
    return {name, const_cast<void*>(address), false};
}

} // namespace mac_program
