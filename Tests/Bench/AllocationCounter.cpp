// Stands in for the C library's allocation functions. A library of its own, so that its
// instructions are not counted as the program's.

#include "AllocationCounter.h"

#include <cstddef>

namespace {

long allocations = 0;

} // namespace

long allocationCount() {
    return allocations;
}

extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

void* malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    ++allocations;
    return __libc_realloc(memory, size);
}

} // extern "C"
