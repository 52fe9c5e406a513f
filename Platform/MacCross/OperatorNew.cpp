// operator new and delete of this program alone.
//
// The C++ library that is linked in exports its own ones as weak definitions, as the standard wants
// them to be replaceable. The system would then bind every library of the process to them.

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

void* allocate(std::size_t size) {
    return std::malloc(size == 0 ? 1 : size);
}

} // namespace

void* operator new(std::size_t size) {
    if (void* const memory = allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
