#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace veilpane {

/// The text in UTF-8, zero characters inside it included; absent when it cannot be converted.
[[nodiscard]] inline std::optional<std::string> utf8Text(NSString* text) {
    const char* const bytes = [text UTF8String];
    if (bytes == nullptr) {
        return std::nullopt;
    }
    return std::string(bytes, [text lengthOfBytesUsingEncoding:NSUTF8StringEncoding]);
}

/// The same text for Foundation, zero characters inside it included; nil when it is no valid UTF-8.
/// Autoreleased.
[[nodiscard]] inline NSString* nsString(const std::string& text) {
    return [[[NSString alloc] initWithBytes:text.data()
                                     length:text.size()
                                   encoding:NSUTF8StringEncoding] autorelease];
}

} // namespace veilpane
