// The label colours of a Mac in its light appearance.

#import "AppKit/Palette.h"

@implementation NSColor (LabelColors)

+ (NSColor*)labelColor {
    return Palette::black(0.85);
}

+ (NSColor*)secondaryLabelColor {
    return Palette::black(0.5);
}

+ (NSColor*)tertiaryLabelColor {
    return Palette::black(0.26);
}

@end
