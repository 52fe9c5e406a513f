#pragma once

#include <cstddef>

namespace mac_program {

/// Fills memory with zeros: bzero.
void clear(void* memory, std::size_t size);

} // namespace mac_program
