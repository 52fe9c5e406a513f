#pragma once

#import <AppKit/AppKit.h>

/// The menu-bar application: a status item whose menu has one switch per display. Main thread only.
@interface AppDelegate : NSObject <NSApplicationDelegate, NSMenuDelegate>

/// Ends the application. The action of the menu's quit item.
- (void)quit;

@end
