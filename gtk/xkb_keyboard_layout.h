#pragma once

#include <gdk/gdk.h>
#include <xkbcommon/xkbcommon.h>

#include "shortcuts/keyboard_layout_port.h"

namespace brisel::gtk {

// Key labels from an XKB keymap: the level-1 character of the physical key in the keymap's
// first ASCII-capable layout (so a Russian-and-US setup labels keys as US does).
class XkbKeyboardLayout final : public KeyboardLayoutPort {
public:
    // The X server's keymap, read when first needed and again after GDK reports a change.
    XkbKeyboardLayout();
    // A fixed keymap; takes its own reference.
    explicit XkbKeyboardLayout(xkb_keymap* keymap);
    ~XkbKeyboardLayout() override;

    XkbKeyboardLayout(const XkbKeyboardLayout&) = delete;
    XkbKeyboardLayout& operator=(const XkbKeyboardLayout&) = delete;

    std::u16string characters(uint32_t keyCode) const override;

private:
    static void keysChanged(GdkKeymap* keymap, gpointer self);
    xkb_keymap* keymap() const;

    mutable xkb_keymap* keymap_ = nullptr;
    GdkKeymap* serverKeymap_ = nullptr;  // set when following the X server
    gulong keysChangedHandler_ = 0;
};

}  // namespace brisel::gtk
