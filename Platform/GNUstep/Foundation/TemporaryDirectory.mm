// As on a Mac the user's temporary directory is that of TMPDIR. GNUstep has one of its own, with
// access rights that it insists on for its own files.

#include "ObjectiveC/MethodReplacement.h"
#include "ObjectiveC/SystemLibraries.h"

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <dlfcn.h>

namespace {

using TemporaryDirectory = NSString*();

NSString* gnustepTemporaryDirectory() {
    static auto* const original =
        reinterpret_cast<TemporaryDirectory*>(dlsym(RTLD_NEXT, "NSTemporaryDirectory"));
    return original();
}

} // namespace

NSString* NSTemporaryDirectory() {
    if (isInSystemLibrary(__builtin_return_address(0))) {
        return gnustepTemporaryDirectory();
    }
    const char* const directory = std::getenv("TMPDIR");
    NSString* const path =
        [NSString stringWithUTF8String:directory != nullptr ? directory : "/tmp"];
    return [path hasSuffix:@"/"] ? path : [path stringByAppendingString:@"/"];
}
