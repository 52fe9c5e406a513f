#pragma once

#import <AppKit/AppKit.h>

/// The menus of the status items, an autoreleased array.
NSArray* statusMenus();
