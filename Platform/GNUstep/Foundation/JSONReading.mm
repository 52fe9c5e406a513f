// GNUstep raises a range exception for some texts that end where JSON does not, in a backslash for
// one. Foundation raises none for what is in the data.

#include "ObjectiveC/MethodReplacement.h"

#import <Foundation/Foundation.h>

namespace {

using Read = id(Class, SEL, NSData*, NSJSONReadingOptions, NSError**);
Read* originalRead;

id readQuietly(Class self, SEL selector, NSData* data, NSJSONReadingOptions options,
               NSError** error) {
    @try {
        return originalRead(self, selector, data, options, error);
    } @catch (NSException*) {
        if (error != nullptr) {
            *error = [NSError errorWithDomain:NSCocoaErrorDomain code:0 userInfo:nil];
        }
        return nil;
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
