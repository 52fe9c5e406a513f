#include "Veilpane/AppMain.h"

#import "Veilpane/Menu/AppDelegate.h"

// Not destroyed with the other statics: AppKit may still look at its delegate while the process
// exits.
[[clang::no_destroy]] AppMain AppMain::shared;
