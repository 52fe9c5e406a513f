#pragma once

#include <cstdint>
#include <string>

namespace mac_program {

/// A part of a segment with contents of one kind.
struct Section {
    std::string segment;
    std::string name;
    std::uint64_t address = 0; ///< as linked
    std::uint64_t size = 0;    ///< in bytes
};

} // namespace mac_program
