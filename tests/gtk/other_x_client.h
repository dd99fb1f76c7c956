#pragma once

#include <X11/Xlib.h>

#include <functional>

namespace brisel::gtk::testing {

// A second connection to the test display: to the X server, another program.
class OtherXClient {
public:
    OtherXClient() : display_(XOpenDisplay(nullptr)) {}
    ~OtherXClient() { XCloseDisplay(display_); }
    OtherXClient(const OtherXClient&) = delete;
    OtherXClient& operator=(const OtherXClient&) = delete;

    Display* display() const { return display_; }
    Window root() const { return DefaultRootWindow(display_); }
    Atom atom(const char* name) const { return XInternAtom(display_, name, False); }

    // The X error that `requests` caused, 0 for none (GDK's handler ignores connections it did not open).
    int errorOf(const std::function<void()>& requests) const {
        static int lastError;
        XSync(display_, False);
        lastError = 0;
        const XErrorHandler previous = XSetErrorHandler([](Display*, XErrorEvent* error) { return lastError = error->error_code, 0; });
        requests();
        XSync(display_, False);
        XSetErrorHandler(previous);
        return lastError;
    }

private:
    Display* display_;
};

}  // namespace brisel::gtk::testing
