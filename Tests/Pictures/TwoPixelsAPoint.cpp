// Loaded into a program before Xlib and cairo, it makes each point that GNUstep draws two pixels
// wide and high, as on a Mac's screen. GNUstep's own scaling does not reach all of what the menu
// bar needs; here nothing above Xlib knows of it. A screen of 2560 x 1600 pixels is one of 1280 x
// 800 points.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo/cairo-xlib.h>
#include <cstring>
#include <dlfcn.h>
#include <initializer_list>
#include <type_traits>

namespace {

constexpr int scale = 2;

template <class Function>
Function* next(const char* name, Function*) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Cairo draws in pixels, by the same functions.
bool isOfGNUstep(const void* caller) {
    Dl_info info = {};
    return dladdr(caller, &info) != 0 && std::strstr(info.dli_fname, "libgnustep") != nullptr;
}

template <class Number>
Number pixels(Number points) {
    return static_cast<Number>(points * scale);
}

template <class Number>
void turnIntoPoints(Number& number) {
    number = static_cast<Number>(number / scale);
}

template <class Event>
void turnPlaceIntoPoints(Event& event) {
    turnIntoPoints(event.x);
    turnIntoPoints(event.y);
}

template <class Event>
void turnPointerIntoPoints(Event& event) {
    turnPlaceIntoPoints(event);
    turnIntoPoints(event.x_root);
    turnIntoPoints(event.y_root);
}

template <class Event>
void turnRectangleIntoPoints(Event& event) {
    turnPlaceIntoPoints(event);
    turnIntoPoints(event.width);
    turnIntoPoints(event.height);
}

void turnIntoPoints(XEvent* event) {
    switch (event->type) {
    case ButtonPress:
    case ButtonRelease:
        return turnPointerIntoPoints(event->xbutton);
    case MotionNotify:
        return turnPointerIntoPoints(event->xmotion);
    case EnterNotify:
    case LeaveNotify:
        return turnPointerIntoPoints(event->xcrossing);
    case KeyPress:
    case KeyRelease:
        return turnPointerIntoPoints(event->xkey);
    case Expose:
        return turnRectangleIntoPoints(event->xexpose);
    case ConfigureNotify:
        return turnRectangleIntoPoints(event->xconfigure);
    case CreateNotify:
        return turnRectangleIntoPoints(event->xcreatewindow);
    case ReparentNotify:
        return turnPlaceIntoPoints(event->xreparent);
    default:
        return;
    }
}

} // namespace

#define NEXT(function) next(#function, function)
#define CALLED_BY_GNUSTEP isOfGNUstep(__builtin_return_address(0))

extern "C" {

Display* XOpenDisplay(const char* name) {
    Display* const display = NEXT(XOpenDisplay)(name);
    if (display != nullptr && CALLED_BY_GNUSTEP) {
        Screen* const screen = DefaultScreenOfDisplay(display);
        turnIntoPoints(screen->width);
        turnIntoPoints(screen->height);
    }
    return display;
}

Window XCreateWindow(Display* display, Window parent, int x, int y, unsigned int width,
                     unsigned int height, unsigned int border, int depth, unsigned int kind,
                     Visual* visual, unsigned long mask, XSetWindowAttributes* attributes) {
    return NEXT(XCreateWindow)(display, parent, pixels(x), pixels(y), pixels(width), pixels(height),
                               border, depth, kind, visual, mask, attributes);
}

Window XCreateSimpleWindow(Display* display, Window parent, int x, int y, unsigned int width,
                           unsigned int height, unsigned int border, unsigned long borderPixel,
                           unsigned long background) {
    return NEXT(XCreateSimpleWindow)(display, parent, pixels(x), pixels(y), pixels(width),
                                     pixels(height), border, borderPixel, background);
}

int XMoveResizeWindow(Display* display, Window window, int x, int y, unsigned int width,
                      unsigned int height) {
    return NEXT(XMoveResizeWindow)(display, window, pixels(x), pixels(y), pixels(width),
                                   pixels(height));
}

int XMoveWindow(Display* display, Window window, int x, int y) {
    return NEXT(XMoveWindow)(display, window, pixels(x), pixels(y));
}

int XResizeWindow(Display* display, Window window, unsigned int width, unsigned int height) {
    return NEXT(XResizeWindow)(display, window, pixels(width), pixels(height));
}

int XNextEvent(Display* display, XEvent* event) {
    const int result = NEXT(XNextEvent)(display, event);
    turnIntoPoints(event);
    return result;
}

int XPeekEvent(Display* display, XEvent* event) {
    const int result = NEXT(XPeekEvent)(display, event);
    turnIntoPoints(event);
    return result;
}

Bool XCheckTypedEvent(Display* display, int type, XEvent* event) {
    const Bool found = NEXT(XCheckTypedEvent)(display, type, event);
    if (found) {
        turnIntoPoints(event);
    }
    return found;
}

Bool XCheckTypedWindowEvent(Display* display, Window window, int type, XEvent* event) {
    const Bool found = NEXT(XCheckTypedWindowEvent)(display, window, type, event);
    if (found) {
        turnIntoPoints(event);
    }
    return found;
}

Bool XCheckWindowEvent(Display* display, Window window, long mask, XEvent* event) {
    const Bool found = NEXT(XCheckWindowEvent)(display, window, mask, event);
    if (found) {
        turnIntoPoints(event);
    }
    return found;
}

Bool XQueryPointer(Display* display, Window window, Window* root, Window* child, int* rootX,
                   int* rootY, int* x, int* y, unsigned int* mask) {
    const Bool result = NEXT(XQueryPointer)(display, window, root, child, rootX, rootY, x, y, mask);
    for (int* const number : {rootX, rootY, x, y}) {
        turnIntoPoints(*number);
    }
    return result;
}

Bool XTranslateCoordinates(Display* display, Window from, Window to, int x, int y, int* toX,
                           int* toY, Window* child) {
    if (!CALLED_BY_GNUSTEP) {
        return NEXT(XTranslateCoordinates)(display, from, to, x, y, toX, toY, child);
    }
    const Bool result =
        NEXT(XTranslateCoordinates)(display, from, to, pixels(x), pixels(y), toX, toY, child);
    turnIntoPoints(*toX);
    turnIntoPoints(*toY);
    return result;
}

Status XGetGeometry(Display* display, Drawable drawable, Window* root, int* x, int* y,
                    unsigned int* width, unsigned int* height, unsigned int* border,
                    unsigned int* depth) {
    const Status result =
        NEXT(XGetGeometry)(display, drawable, root, x, y, width, height, border, depth);
    if (CALLED_BY_GNUSTEP) {
        turnIntoPoints(*x);
        turnIntoPoints(*y);
        turnIntoPoints(*width);
        turnIntoPoints(*height);
    }
    return result;
}

Status XGetWindowAttributes(Display* display, Window window, XWindowAttributes* attributes) {
    const Status result = NEXT(XGetWindowAttributes)(display, window, attributes);
    if (CALLED_BY_GNUSTEP) {
        turnRectangleIntoPoints(*attributes);
    }
    return result;
}

// The caller gets an image of pixels.
XImage* XGetImage(Display* display, Drawable drawable, int x, int y, unsigned int width,
                  unsigned int height, unsigned long planes, int format) {
    return CALLED_BY_GNUSTEP
               ? NEXT(XGetImage)(display, drawable, pixels(x), pixels(y), pixels(width),
                                 pixels(height), planes, format)
               : NEXT(XGetImage)(display, drawable, x, y, width, height, planes, format);
}

cairo_surface_t* cairo_xlib_surface_create(Display* display, Drawable drawable, Visual* visual,
                                           int width, int height) {
    cairo_surface_t* const surface =
        NEXT(cairo_xlib_surface_create)(display, drawable, visual, pixels(width), pixels(height));
    cairo_surface_set_device_scale(surface, scale, scale);
    return surface;
}

void cairo_xlib_surface_set_size(cairo_surface_t* surface, int width, int height) {
    NEXT(cairo_xlib_surface_set_size)(surface, pixels(width), pixels(height));
}

} // extern "C"
