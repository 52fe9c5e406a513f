#pragma once

#import <AppKit/AppKit.h>

/// Whether a key was pressed together with Command.
bool isCommandKey(NSEvent* event);

/// Lets the application ask the menu bar's menus about command keys before its windows get them.
void matchKeysAgainstStatusMenus();
