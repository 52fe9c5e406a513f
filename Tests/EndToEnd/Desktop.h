#pragma once

#include "Support/VirtualScreen.h"

#include <cstdint>
#include <functional>
#include <memory>

struct Point {
    int x; ///< from the left
    int y; ///< from the top
};

/// A colour as 0xRRGGBB.
using Color = std::uint32_t;

/// A screen of its own with a mouse and a keyboard that the test moves.
class Desktop {
public:
    Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;
    ~Desktop();

    void click(Point place);
    void pressEscape();
    void pressReturn();
    /// Command and a letter.
    void pressCommand(char letter);

    /// Opens another program's window above all that are open now. It stays until the desktop goes.
    void coverWith(Color color, Point upperLeft, Point lowerRight);

    [[nodiscard]] Color colorAt(Point place) const;

private:
    void press(unsigned long keySymbol);

    struct Connection;
    VirtualScreen screen_;
    std::unique_ptr<Connection> connection_;
};

/// Waits until the condition holds; false if it does not within 15 seconds.
bool eventually(const std::function<bool()>& condition);
