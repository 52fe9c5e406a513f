#pragma once

#include "MacProgram/Metadata/ConstantStrings.h"
#include "MacProgram/Runtime/Symbol.h"

#include <type_traits>

namespace mac_program {

/// A function of CoreFoundation or above it, which gets the twins of literals.
template <auto function>
struct WithTwins;

template <class Result, class... Arguments, Result (*function)(Arguments...)>
struct WithTwins<function> {
    static Result call(Arguments... arguments) { return function(twinOf(arguments)...); }

private:
    template <class Argument>
    static Argument twinOf(Argument argument) {
        if constexpr (std::is_convertible_v<Argument, const void*>) {
            return reinterpret_cast<Argument>(const_cast<void*>(coreFoundationObject(argument)));
        } else {
            return argument;
        }
    }
};

/// The function's entry in a library's list.
template <auto address>
Symbol withTwins(std::string_view name) {
    return function(name, WithTwins<address>::call);
}

} // namespace mac_program
