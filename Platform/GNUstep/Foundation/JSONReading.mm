// GNUstep raises a range exception for some texts that end where JSON does not, in a backslash for
// one. Foundation raises none for what is in the data.

#include "ObjectiveC/MethodReplacement.h"

#import <Foundation/Foundation.h>

namespace {

using Read = id(Class, SEL, NSData*, NSJSONReadingOptions, NSError**);
Read* originalRead;

bool endsInBackslash(NSData* data) {
    const auto* const bytes = static_cast<const char*>([data bytes]);
    return [data length] > 0 && bytes[[data length] - 1] == '\\';
}

id failure(NSError** error) {
    if (error != nullptr) {
        *error = [NSError errorWithDomain:NSCocoaErrorDomain code:0 userInfo:nil];
    }
    return nil;
}

// What GNUstep has made by then it leaves behind, so that the known case is kept from it.
id readQuietly(Class self, SEL selector, NSData* data, NSJSONReadingOptions options,
               NSError** error) {
    if (endsInBackslash(data)) {
        return failure(error);
    }
    @try {
        return originalRead(self, selector, data, options, error);
    } @catch (NSException*) {
        return failure(error);
    }
}

} // namespace

@interface NSJSONSerialization (QuietReading)
@end

@implementation NSJSONSerialization (QuietReading)

+ (void)load {
    originalRead = functionOf<Read>(replaceClassMethodOf(
        [NSJSONSerialization class], @selector(JSONObjectWithData:options:error:),
        implementationOf(readQuietly)));
}

@end
