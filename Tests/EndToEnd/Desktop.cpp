#include "EndToEnd/Desktop.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <chrono>
#include <thread>

struct Desktop::Connection {
    Connection() : display(XOpenDisplay(nullptr)) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { XCloseDisplay(display); }

    void key(unsigned long symbol, bool isDown) const {
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, symbol), isDown ? True : False, 0);
    }

    Display* display;
};

Desktop::Desktop() : connection_(std::make_unique<Connection>()) {}

Desktop::~Desktop() = default;

void Desktop::click(Point place) {
    Display* const display = connection_->display;
    XTestFakeMotionEvent(display, -1, place.x, place.y, 0);
    XTestFakeButtonEvent(display, 1, True, 0);
    XTestFakeButtonEvent(display, 1, False, 0);
    XSync(display, False);
}

void Desktop::press(unsigned long keySymbol) {
    connection_->key(keySymbol, true);
    connection_->key(keySymbol, false);
    XSync(connection_->display, False);
}

void Desktop::pressEscape() {
    press(XK_Escape);
}

void Desktop::pressReturn() {
    press(XK_Return);
}

// The left Alt key is Command, as on a keyboard of a PC it lies where Command does.
void Desktop::pressCommand(char letter) {
    connection_->key(XK_Alt_L, true);
    press(static_cast<unsigned char>(letter));
    connection_->key(XK_Alt_L, false);
    XSync(connection_->display, False);
}

void Desktop::coverWith(Color color, Point upperLeft, Point lowerRight) {
    Display* const display = connection_->display;
    XSetWindowAttributes attributes{};
    attributes.background_pixel = color;
    attributes.override_redirect = True;
    const Window window =
        XCreateWindow(display, DefaultRootWindow(display), upperLeft.x, upperLeft.y,
                      static_cast<unsigned>(lowerRight.x - upperLeft.x),
                      static_cast<unsigned>(lowerRight.y - upperLeft.y), 0, CopyFromParent,
                      InputOutput, nullptr, CWBackPixel | CWOverrideRedirect, &attributes);
    XMapRaised(display, window);
    XSync(display, False);
}

Color Desktop::colorAt(Point place) const {
    Display* const display = connection_->display;
    XImage* const image =
        XGetImage(display, DefaultRootWindow(display), place.x, place.y, 1, 1, AllPlanes, ZPixmap);
    const auto color = static_cast<Color>(XGetPixel(image, 0, 0) & 0xFFFFFF);
    XDestroyImage(image);
    return color;
}

bool eventually(const std::function<bool()>& condition) {
    using namespace std::chrono_literals;
    const auto end = std::chrono::steady_clock::now() + 15s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(10ms);
    }
    return true;
}
