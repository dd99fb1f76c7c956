#include "x11_hot_keys.h"

#include <gdk/gdkx.h>
#include <X11/keysym.h>

#include <array>
#include <utility>

#include "physical_key_codes.h"
#include "shortcuts/key_binding.h"

namespace brisel::gtk {

namespace {

// The modifier bit Num Lock sits on in the server's current modifier map (usually Mod2).
unsigned numLockMask(Display* display) {
    const KeyCode numLock = XKeysymToKeycode(display, XK_Num_Lock);
    XModifierKeymap* map = XGetModifierMapping(display);
    unsigned mask = 0;
    for (int modifier = 0; numLock != 0 && modifier < 8; ++modifier) {
        for (int i = 0; i < map->max_keypermod; ++i) {
            if (map->modifiermap[modifier * map->max_keypermod + i] == numLock) mask = 1u << modifier;
        }
    }
    XFreeModifiermap(map);
    return mask;
}

std::array<unsigned, 4> lockVariants(Display* display) {
    const unsigned numLock = numLockMask(display);
    return {0, LockMask, numLock, LockMask | numLock};
}

}  // namespace

X11HotKeys::X11HotKeys()
    : display_(gdk_display_get_default()),
      xdisplay_(gdk_x11_display_get_xdisplay(display_)),
      root_(gdk_get_default_root_window()) {}

X11HotKeys::~X11HotKeys() {
    removeHandler();
    for (const auto& [ref, grab] : grabs_) ungrab(grab);
}

int32_t X11HotKeys::installHandler(std::function<bool()> pressed) {
    pressed_ = std::move(pressed);
    if (!filtering_) gdk_window_add_filter(root_, filter, this);
    filtering_ = true;
    return 0;
}

void X11HotKeys::removeHandler() {
    if (filtering_) gdk_window_remove_filter(root_, filter, this);
    filtering_ = false;
    pressed_ = nullptr;
}

HotKeyRegistration X11HotKeys::registerHotKey(uint32_t keyCode, uint32_t modifiers) {
    const auto x11 = x11KeyCode(keyCode);
    if (!x11) return {BadValue, std::nullopt};
    const Grab grab{*x11, x11Modifiers(modifiers)};
    const Window root = GDK_WINDOW_XID(root_);
    // X reports a refused grab asynchronously; the trap syncs and hands back the error.
    gdk_x11_display_error_trap_push(display_);
    for (unsigned lock : lockVariants(xdisplay_)) {
        XGrabKey(xdisplay_, static_cast<int>(grab.keyCode), grab.modifiers | lock, root, False, GrabModeAsync,
                 GrabModeAsync);
    }
    const int error = gdk_x11_display_error_trap_pop(display_);
    if (error != 0) {
        // Some variants may have been granted; a failed registration keeps none of them.
        if (!isRegistered(grab)) ungrab(grab);
        return {error, std::nullopt};
    }
    const HotKeyRef ref = nextRef_++;
    grabs_.emplace(ref, grab);
    return {0, ref};
}

void X11HotKeys::unregisterHotKey(HotKeyRef ref) {
    const auto found = grabs_.find(ref);
    if (found == grabs_.end()) return;
    const Grab grab = found->second;
    grabs_.erase(found);
    // X keeps one grab per key and modifiers for this client, whatever registered it.
    if (!isRegistered(grab)) ungrab(grab);
}

void X11HotKeys::ungrab(const Grab& grab) {
    const Window root = GDK_WINDOW_XID(root_);
    for (unsigned lock : lockVariants(xdisplay_)) {
        XUngrabKey(xdisplay_, static_cast<int>(grab.keyCode), grab.modifiers | lock, root);
    }
    // Released by the time we return: the key may be registered again at once, here or by
    // another program.
    gdk_display_sync(display_);
}

bool X11HotKeys::isRegistered(const Grab& grab) const {
    for (const auto& [ref, held] : grabs_) {
        if (held == grab) return true;
    }
    return false;
}

GdkFilterReturn X11HotKeys::filter(GdkXEvent* xevent, GdkEvent*, gpointer self) {
    auto* hotKeys = static_cast<X11HotKeys*>(self);
    const auto* event = static_cast<const XEvent*>(xevent);
    if (event->type != KeyPress) return GDK_FILTER_CONTINUE;
    // Only the modifiers a binding can carry are compared, not lock or mouse button bits.
    const unsigned bindable = x11Modifiers(BriselKeyBinding::command | BriselKeyBinding::option |
                                           BriselKeyBinding::control | BriselKeyBinding::shift);
    const Grab pressed{event->xkey.keycode, event->xkey.state & bindable};
    if (!hotKeys->isRegistered(pressed)) return GDK_FILTER_CONTINUE;
    // A handler whose owner is gone leaves the press to GDK, as an unhandled event.
    return hotKeys->pressed_() ? GDK_FILTER_REMOVE : GDK_FILTER_CONTINUE;
}

}  // namespace brisel::gtk
