#pragma once

#import <AppKit/AppKit.h>

/// The colours of a Mac in its light appearance.
namespace Palette {

inline NSColor* black(CGFloat opacity) {
    return [NSColor colorWithCalibratedWhite:0 alpha:opacity];
}

inline NSColor* white(CGFloat level) {
    return [NSColor colorWithCalibratedWhite:level alpha:1];
}

/// What marks the default choice: switches that are on, default buttons, selected menu rows.
inline NSColor* accent() {
    return [NSColor colorWithCalibratedRed:0.04 green:0.48 blue:1 alpha:1];
}

inline NSColor* menuBackground() {
    return white(0.965);
}

inline NSColor* menuBarBackground() {
    return white(0.93);
}

inline NSColor* hairline() {
    return black(0.12);
}

} // namespace Palette
