#include "Veilpane/Support/StandardStreams.h"

#import <Foundation/Foundation.h>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace veilpane {

void openMissingStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // A new descriptor gets the lowest free number, which is this one.
            open("/dev/null", O_RDWR);
        }
    }
}

void printLine(const std::string& line) {
    const std::string terminated = line + '\n';
    std::fwrite(terminated.data(), 1, terminated.size(), stdout);
}

std::string boolText(bool value) {
    return value ? "true" : "false";
}

void writeToStandardError(std::string_view bytes) {
    NSData* const data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
    // writeData: raises when it cannot write.
    @try {
        [[NSFileHandle fileHandleWithStandardError] writeData:data];
    } @catch (NSException*) {
    }
}

} // namespace veilpane
