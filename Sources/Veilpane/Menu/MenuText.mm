#include "Veilpane/Menu/MenuText.h"

namespace veilpane {

namespace {

constexpr NSUInteger longestText = 64;
constexpr NSUInteger keptOfLongerText = 61;

// The index behind the first `count` user-perceived characters, or the text's length.
NSUInteger indexAfter(NSString* text, NSUInteger count) {
    NSUInteger index = 0;
    while (count-- > 0 && index < [text length]) {
        index = NSMaxRange([text rangeOfComposedCharacterSequenceAtIndex:index]);
    }
    return index;
}

} // namespace

NSString* shortenedForMenu(NSString* text) {
    if (indexAfter(text, longestText) == [text length]) {
        return text;
    }
    return
        [[text substringToIndex:indexAfter(text, keptOfLongerText)] stringByAppendingString:@"…"];
}

} // namespace veilpane
