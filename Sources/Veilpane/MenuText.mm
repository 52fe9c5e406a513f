#include "Veilpane/MenuText.h"

#include <limits>

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

bool hasFraction(NSString* number) {
    return
        [number rangeOfCharacterFromSet:[NSCharacterSet characterSetWithCharactersInString:@".en"]]
            .location != NSNotFound;
}

} // namespace

NSString* shortenedForMenu(NSString* text) {
    if (indexAfter(text, longestText) == [text length]) {
        return text;
    }
    return
        [[text substringToIndex:indexAfter(text, keptOfLongerText)] stringByAppendingString:@"…"];
}

NSString* shortestDecimal(double number) {
    NSString* text = nil;
    for (int digits = 1; digits <= std::numeric_limits<double>::max_digits10; ++digits) {
        text = [NSString stringWithFormat:@"%.*g", digits, number];
        if ([text doubleValue] == number) {
            break;
        }
    }
    return hasFraction(text) ? text : [text stringByAppendingString:@".0"];
}
