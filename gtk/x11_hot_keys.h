#pragma once

#include <gdk/gdk.h>
#include <X11/Xlib.h>

#include <map>

#include "capture/hot_key_port.h"

namespace brisel::gtk {

// Global hot keys as passive key grabs on the root window of GDK's display. A grab is exact
// about modifiers, so each binding is grabbed with and without Caps Lock and Num Lock.
class X11HotKeys final : public HotKeyPort {
public:
    X11HotKeys();
    ~X11HotKeys() override;

    X11HotKeys(const X11HotKeys&) = delete;
    X11HotKeys& operator=(const X11HotKeys&) = delete;

    int32_t installHandler(std::function<bool()> pressed) override;
    void removeHandler() override;
    // The status is the X error of the grab (BadAccess when another client holds the key), or
    // BadValue for a key code that has no X11 key.
    HotKeyRegistration registerHotKey(uint32_t keyCode, uint32_t modifiers) override;
    void unregisterHotKey(HotKeyRef ref) override;

private:
    struct Grab {
        unsigned keyCode;
        unsigned modifiers;
        bool operator==(const Grab&) const = default;
    };

    static GdkFilterReturn filter(GdkXEvent* xevent, GdkEvent* event, gpointer self);
    void ungrab(const Grab& grab);
    bool isRegistered(const Grab& grab) const;

    GdkDisplay* display_;
    Display* xdisplay_;
    GdkWindow* root_;
    std::function<bool()> pressed_;
    bool filtering_ = false;
    std::map<HotKeyRef, Grab> grabs_;
    HotKeyRef nextRef_ = 1;
};

}  // namespace brisel::gtk
