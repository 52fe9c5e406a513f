#pragma once

#include "MacProgram/Image/Image.h"

#include <pthread.h>

namespace mac_program {

// A Mac's mutexes and conditions are of another size and content; those of this system stand beside
// them. All return an error number of a Mac, or 0.
int lockMutex(void* mutex);
int unlockMutex(void* mutex);
int waitForCondition(void* condition, void* mutex);
int wakeAll(void* condition);

/// The kernel's number of a thread: only ever asked of the present one.
unsigned int kernelThread(pthread_t thread);

/// Throws BadProgram when the program's thread-local variables do not fit into the space for them,
/// or are not asked for in the way that is known here.
void requireSpaceForThreadLocals(const Image& image);

} // namespace mac_program
