// GNUstep writes a line to standard error when a file cannot be written.

#import <Foundation/Foundation.h>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool writeAll(int file, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0) {
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

bool writeFile(const char* path, NSData* data) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) {
        return false;
    }
    const bool isWritten = writeAll(file, static_cast<const char*>([data bytes]), [data length]);
    return close(file) == 0 && isWritten;
}

} // namespace

@implementation NSData (QuietWriting)

/// Only plain overwriting, which is what options of 0 ask for.
- (BOOL)writeToURL:(NSURL*)url options:(NSUInteger)options error:(NSError**)error {
    if (options != 0) {
        [NSException raise:NSInvalidArgumentException format:@"writing options are not supported"];
    }
    if (writeFile([[url path] fileSystemRepresentation], self)) {
        return YES;
    }
    if (error != nullptr) {
        *error = [NSError errorWithDomain:NSPOSIXErrorDomain code:errno userInfo:nil];
    }
    return NO;
}

@end
