// GNUstep raises a range exception for some texts that end where JSON does not, in a backslash for
// one. Foundation raises none for what is in the data. Nor does it read what is nested deeper than
// 512; GNUstep, which reads by recursion, has no limit but the stack.

#include "ObjectiveC/MethodReplacement.h"

#import <Foundation/Foundation.h>

#include <string_view>

namespace {

constexpr int deepest = 512;

using Read = id(Class, SEL, NSData*, NSJSONReadingOptions, NSError**);
Read* originalRead;

// Brackets in texts are none.
bool isNestedTooDeeply(std::string_view json) {
    int depth = 0;
    bool isInText = false;
    for (std::size_t place = 0; place < json.size() && depth <= deepest; ++place) {
        const char byte = json[place];
        if (byte == '"') {
            isInText = !isInText;
        } else if (isInText) {
            place += byte == '\\' ? 1 : 0;
        } else if (byte == '[' || byte == '{') {
            ++depth;
        } else if (byte == ']' || byte == '}') {
            --depth;
        }
    }
    return depth > deepest;
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
    const std::string_view json(static_cast<const char*>([data bytes]), [data length]);
    if (json.ends_with('\\') || isNestedTooDeeply(json)) {
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
