// The system font: one that has Chinese characters beside Latin ones, as GNUstep does not look for
// a missing character in other fonts.

#import <AppKit/AppKit.h>

namespace {

constexpr CGFloat defaultSize = 13;
constexpr CGFloat menuBarSize = 14;

NSFont* firstFontOf(NSArray* names, CGFloat size) {
    for (NSString* name in names) {
        if (NSFont* const font = [NSFont fontWithName:name size:size > 0 ? size : defaultSize]) {
            return font;
        }
    }
    return nil;
}

NSFont* regular(CGFloat size) {
    return firstFontOf(@[ @"NotoSansCJKsc-Regular", @"DejaVuSans" ], size);
}

NSFont* medium(CGFloat size) {
    return firstFontOf(@[ @"NotoSansCJKsc-Medium", @"NotoSansCJKsc-Regular", @"DejaVuSans" ], size);
}

NSFont* bold(CGFloat size) {
    return firstFontOf(@[ @"NotoSansCJKsc-Bold", @"DejaVuSans-Bold" ], size);
}

} // namespace

@implementation NSFont (Weights)

+ (NSFont*)systemFontOfSize:(CGFloat)size {
    return regular(size);
}

+ (NSFont*)boldSystemFontOfSize:(CGFloat)size {
    return bold(size);
}

+ (NSFont*)menuBarFontOfSize:(CGFloat)size {
    return regular(size > 0 ? size : menuBarSize);
}

+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight {
    if (weight >= NSFontWeightSemibold) {
        return bold(size);
    }
    return weight >= NSFontWeightMedium ? medium(size) : regular(size);
}

@end
