#pragma once

#include <cstdint>

namespace mac_program {

/// The number of the processor that this loader runs programs of.
constexpr std::uint32_t processorX86_64 = 0x01000007;

/// The unit in which x86_64 maps memory, in bytes.
constexpr std::uint64_t pageSize = 4096;

/// The next multiple of a page.
constexpr std::uint64_t wholePages(std::uint64_t size) {
    return (size + pageSize - 1) / pageSize * pageSize;
}

} // namespace mac_program
