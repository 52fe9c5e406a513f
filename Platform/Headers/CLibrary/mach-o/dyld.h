// Where the process's executable lies.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// -1, and the size that is needed, when the buffer is too small. The path may lead through links.
int _NSGetExecutablePath(char* buffer, uint32_t* size);

#ifdef __cplusplus
}
#endif
