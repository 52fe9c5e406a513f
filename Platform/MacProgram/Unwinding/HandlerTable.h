#pragma once

#include "MacProgram/File/ByteReader.h"

#include <cstdint>
#include <functional>

namespace mac_program {

/// Where to go on in a function that an exception passes through.
struct Landing {
    std::uint64_t place = 0;   ///< 0: nowhere, the exception passes
    std::int64_t selector = 0; ///< which of the types has caught it; 0 for a clean-up
    bool isHandler = false;
};

/// Where a function's instructions lie in memory.
struct FunctionRange {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// A function's table of handlers, as the compiler writes it for C++ and Objective-C alike.
class HandlerTable {
public:
    /// Whether a handler takes the exception: one for the type whose pointer lies at `type`, or,
    /// when that is null, one for any type.
    using Catches = std::function<bool(const void* type)>;

    /// `tables` holds the tables of all functions, and this one begins at the address `place`.
    /// Throws BadProgram when it is damaged, or of a kind that is not known here.
    HandlerTable(Bytes tables, std::uint64_t place, FunctionRange function);

    /// For the call that `place` lies in. Throws BadProgram when what it reads is damaged, and for
    /// a call that is in no row, which must not throw.
    [[nodiscard]] Landing landingFor(std::uint64_t place, const Catches& catches) const;

private:
    [[nodiscard]] ByteReader at(std::uint64_t offset) const;
    [[nodiscard]] std::uint64_t requireInFunction(std::uint64_t offset, std::uint64_t size) const;
    [[nodiscard]] Landing actionsAt(std::uint64_t action, std::uint64_t place,
                                    const Catches& catches) const;
    [[nodiscard]] const void* typeAt(std::uint64_t number) const;

    Bytes tables_;
    FunctionRange function_;
    std::uint8_t typeEncoding_ = 0;
    std::uint8_t callEncoding_ = 0;
    Bytes calls_;
    // From the beginning of all tables.
    std::uint64_t types_ = 0;
    std::uint64_t actions_ = 0;
};

} // namespace mac_program
