#pragma once

#include <cstdint>
#include <functional>

namespace mac_program {

/// Where to go on in a function that an exception passes through.
struct Landing {
    std::uint64_t place = 0;   ///< 0: nowhere, the exception passes
    std::int64_t selector = 0; ///< which of the types has caught it; 0 for a clean-up
    bool isHandler = false;
};

/// A function's table of handlers, as the compiler writes it for C++ and Objective-C alike.
class HandlerTable {
public:
    /// Whether a handler for this type, null for one of any type, takes the exception.
    using Catches = std::function<bool(const void* type)>;

    /// `function` is where the function begins.
    HandlerTable(const std::uint8_t* table, std::uint64_t function);

    /// For the call that `place` lies in. A call that is in no row must not throw, which ends the
    /// process.
    [[nodiscard]] Landing landingFor(std::uint64_t place, const Catches& catches) const;

private:
    [[nodiscard]] Landing actionsAt(const std::uint8_t* action, std::uint64_t place,
                                    const Catches& catches) const;
    [[nodiscard]] const void* typeAt(std::uint64_t number) const;

    std::uint64_t function_;
    std::uint8_t typeEncoding_ = 0;
    const std::uint8_t* types_ = nullptr;
    std::uint8_t callEncoding_ = 0;
    const std::uint8_t* calls_ = nullptr;
    const std::uint8_t* actions_ = nullptr;
};

} // namespace mac_program
