#pragma once

// For tests that draw: no window of theirs appears where somebody works.

#include <string>
#include <sys/types.h>

/// An X server without a screen that anybody sees, for as long as the object lives. The environment
/// variable DISPLAY leads this process and its children to it. Where a test runner has one ready
/// (`use`), it is that one.
class VirtualScreen {
public:
    /// Throws std::runtime_error when there is no Xvfb.
    VirtualScreen();
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;
    ~VirtualScreen();

    /// Makes it the screen of all that this process and its children make from now on.
    void use() const;

private:
    std::string display_;
    pid_t server_ = 0; ///< 0 for somebody else's
};
