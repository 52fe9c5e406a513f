#include "MacProgram/Metadata/ConstantStrings.h"

#include "MacProgram/Metadata/Formats.h"

#import <Foundation/Foundation.h>

#include <deque>
#include <map>
#include <objc/runtime.h>
#include <string>

// What the simulated CoreFoundation knows its literals by.
extern "C" int __CFConstantStringClassReference[];

namespace mac_program {
namespace {

constexpr std::uint64_t utf8Flags = 0x7C8;
constexpr std::uint64_t utf16Flags = 0x7D0;

/// How the compiler lays out a literal for GNUstep.
struct FoundationString {
    Class isa;
    const char* characters; // UTF-8
    unsigned int length;    // in bytes
};
static_assert(sizeof(FoundationString) <= sizeof(MacString));

std::map<const void*, MacString>& twins() {
    [[clang::no_destroy]] static std::map<const void*, MacString> all;
    return all;
}

// Literals last as long as the process.
const std::string& keep(std::string text) {
    [[clang::no_destroy]] static std::deque<std::string> all;
    return all.emplace_back(std::move(text));
}

std::string utf8Of(std::span<const char16_t> units) {
    @autoreleasepool {
        NSString* const string =
            [NSString stringWithCharacters:reinterpret_cast<const unichar*>(units.data())
                                    length:units.size()];
        const char* const text = [string UTF8String];
        if (text == nullptr) {
            throw BadProgram("a literal is no UTF-16");
        }
        return text;
    }
}

std::string textOf(const Image& image, const MacString& literal) {
    if (literal.flags == utf16Flags) {
        return utf8Of(image.array<char16_t>(literal.characters, literal.length, "a literal"));
    }
    if (literal.flags != utf8Flags) {
        throw BadProgram("a literal is of a kind that is not known here");
    }
    const auto bytes = image.array<char>(literal.characters, literal.length, "a literal");
    return {bytes.begin(), bytes.end()};
}

} // namespace

void adoptConstantStrings(const Image& image) {
    Class const foundationClass = [NSConstantString class];
    for (MacString& literal : image.elements<MacString>("__cfstring")) {
        const std::string& text = keep(textOf(image, literal));
        MacString& twin = twins()[&literal];
        twin = literal;
        twin.isa = __CFConstantStringClassReference;
        reinterpret_cast<FoundationString&>(literal) = {foundationClass, text.c_str(),
                                                        static_cast<unsigned int>(text.size())};
    }
}

const void* coreFoundationObject(const void* object) {
    const auto found = twins().find(object);
    return found == twins().end() ? object : &found->second;
}

} // namespace mac_program
