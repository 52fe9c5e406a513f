// As on a Mac the user's temporary directory is that of TMPDIR. GNUstep has one of its own.

#import <Foundation/Foundation.h>

#include <cstdlib>

NSString* NSTemporaryDirectory() {
    const char* const directory = std::getenv("TMPDIR");
    NSString* const path =
        [NSString stringWithUTF8String:directory != nullptr ? directory : "/tmp"];
    return [path hasSuffix:@"/"] ? path : [path stringByAppendingString:@"/"];
}
