#include "MacProgram/System/Descriptors.h"

#include "MacProgram/Runtime/Refusal.h"

#include <fcntl.h>
#include <string>
#include <utility>

namespace mac_program {
namespace {

constexpr int macDuplicateClosedOnExec = 67;

constexpr std::pair<int, int> macFlagBits[] = {
    {0x8, O_APPEND}, {0x200, O_CREAT}, {0x400, O_TRUNC}, {0x800, O_EXCL}, {0x1000000, O_CLOEXEC}};

} // namespace

// What access is wanted, the lowest two bits tell on both systems.
int openFlags(int macFlags) {
    int flags = macFlags & O_ACCMODE;
    int unknown = macFlags & ~O_ACCMODE;
    for (const auto& [mac, here] : macFlagBits) {
        if ((unknown & mac) != 0) {
            flags |= here;
            unknown &= ~mac;
        }
    }
    if (unknown != 0) {
        refuse("flags " + std::to_string(macFlags) + " of open are not known here");
    }
    return flags;
}

int openFile(const char* path, int flags, int mode) {
    return open(path, openFlags(flags), mode);
}

int controlDescriptor(int descriptor, int command, long argument) {
    switch (command) {
    case F_DUPFD:
    case F_GETFD:
    case F_SETFD:
        return fcntl(descriptor, command, argument);
    case macDuplicateClosedOnExec:
        return fcntl(descriptor, F_DUPFD_CLOEXEC, argument);
    default:
        refuse("command " + std::to_string(command) + " of fcntl is not known here");
    }
}

int waitForDescriptors(pollfd* descriptors, unsigned int count, int milliseconds) {
    return poll(descriptors, count, milliseconds);
}

} // namespace mac_program
