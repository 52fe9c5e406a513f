// Facts on the system and the processor, by name.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// Writes at most `*size` bytes, and to `size` how many there are. -1 and errno for what is not
// known.
int sysctlbyname(const char* name, void* value, size_t* size, void* newValue, size_t newSize);

#ifdef __cplusplus
}
#endif
