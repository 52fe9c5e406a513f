#include "Veilpane/AppMain.h"

#import "Veilpane/Menu/AppDelegate.h"

namespace veilpane {

// Not destroyed with the other statics: AppKit may still look at its delegate while the process
// exits.
[[clang::no_destroy]] constinit AppMain AppMain::shared;

} // namespace veilpane
