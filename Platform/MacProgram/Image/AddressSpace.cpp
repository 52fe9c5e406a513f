#include "MacProgram/Image/AddressSpace.h"

#include "MacProgram/File/BadProgram.h"

#include <sys/mman.h>

namespace mac_program {
namespace {

std::uint8_t* reserve(std::size_t size) {
    void* const range =
        mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range == MAP_FAILED) {
        throw BadProgram("there is not enough memory");
    }
    return static_cast<std::uint8_t*>(range);
}

} // namespace

AddressSpace::AddressSpace(std::size_t size) : begin_(reserve(size)), size_(size) {}

AddressSpace::~AddressSpace() {
    munmap(begin_, size_);
}

void AddressSpace::allow(std::size_t offset, std::size_t size, int protection) {
    if (offset > size_ || size > size_ - offset) {
        throw BadProgram("a segment lies outside the program's memory");
    }
    if (size > 0 && mprotect(begin_ + offset, size, protection) != 0) {
        throw BadProgram("there is not enough memory");
    }
    if ((protection & PROT_EXEC) != 0) {
        // A processor may have read the memory before the instructions were written.
        auto* const begin = reinterpret_cast<char*>(begin_ + offset);
        __builtin___clear_cache(begin, begin + size);
    }
}

} // namespace mac_program
