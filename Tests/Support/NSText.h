#pragma once

// Foundation's texts for tests, which compare standard ones.

#import <Foundation/Foundation.h>

#include <string>

/// An NSString's text; "(nil)" for nil.
inline std::string text(NSString* string) {
    const char* const utf8 = [string UTF8String];
    return utf8 == nullptr ? "(nil)" : utf8;
}
