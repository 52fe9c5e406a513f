#include "MacProgram/System/Memory.h"

#include <cstring>

namespace mac_program {

void clear(void* memory, std::size_t size) {
    std::memset(memory, 0, size);
}

} // namespace mac_program
