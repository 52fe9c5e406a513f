#pragma once

// For tests that draw: no window of theirs appears where somebody works.

#include <string>
#include <sys/types.h>

/// An X server without a screen that anybody sees, for as long as the object lives. The environment
/// variable DISPLAY leads this process and its children to it.
class VirtualScreen {
public:
    /// Throws std::runtime_error when there is no Xvfb.
    VirtualScreen();
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;
    ~VirtualScreen();

private:
    pid_t server_ = 0;
};
