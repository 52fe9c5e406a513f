#pragma once

#include <poll.h>

namespace mac_program {

/// A Mac's flags of `open` as this system's. Refuses to go on for one that is not known here.
int openFlags(int macFlags);

// With a Mac's numbers.
int openFile(const char* path, int flags, int mode);
int controlDescriptor(int descriptor, int command, long argument);
/// poll, whose structures and events are the same, but not the type of their number.
int waitForDescriptors(pollfd* descriptors, unsigned int count, int milliseconds);

} // namespace mac_program
