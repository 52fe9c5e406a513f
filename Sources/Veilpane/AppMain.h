#pragma once

#include "Ownership/NSRef.h"

@class AppDelegate;

namespace veilpane {

/// Keeps the application delegate alive for the life of the process: NSApplication does not.
class AppMain {
public:
    static AppMain shared;

    /// Empty until the menu-bar application starts.
    NSRef<AppDelegate> delegate;
};

} // namespace veilpane
