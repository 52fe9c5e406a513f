#pragma once

#import <AppKit/AppKit.h>

#include <string_view>

/// One of the system's symbols: drawn in black, in points, from the lower left.
struct Symbol {
    std::string_view name;
    NSSize size;
    void (*draw)();
};

/// nullptr if there is no symbol of that name.
const Symbol* findSymbol(std::string_view name);
