#include "xkb_keyboard_layout.h"

#include <gdk/gdkx.h>
#include <X11/Xlib-xcb.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <optional>

#include "physical_key_codes.h"
#include "shortcuts/physical_keys.h"

namespace brisel::gtk {

namespace {

// The one character a key types at level 1 of `layout`, as a code point; 0 when it types none
// (no symbol, several, or a dead key).
uint32_t levelOneCharacter(xkb_keymap* keymap, xkb_keycode_t key, xkb_layout_index_t layout) {
    const xkb_layout_index_t layouts = xkb_keymap_num_layouts_for_key(keymap, key);
    if (layouts == 0) return 0;
    // A key defined in fewer groups than the keymap wraps around, as X does by default.
    const xkb_keysym_t* symbols = nullptr;
    if (xkb_keymap_key_get_syms_by_level(keymap, key, layout % layouts, 0, &symbols) != 1) return 0;
    return xkb_keysym_to_utf32(symbols[0]);
}

// A layout is ASCII-capable when every letter key of the bindable set types ASCII there.
bool isASCIICapable(xkb_keymap* keymap, xkb_layout_index_t layout) {
    for (const PhysicalKey& key : physicalKeys) {
        if (!key.code.starts_with("Key")) continue;
        const uint32_t character = levelOneCharacter(keymap, *x11KeyCode(key.keyCode), layout);
        if (character <= 0x20 || character >= 0x7F) return false;
    }
    return true;
}

std::optional<xkb_layout_index_t> firstASCIICapableLayout(xkb_keymap* keymap) {
    for (xkb_layout_index_t layout = 0; layout < xkb_keymap_num_layouts(keymap); ++layout) {
        if (isASCIICapable(keymap, layout)) return layout;
    }
    return std::nullopt;
}

std::u16string utf16(uint32_t codePoint) {
    if (codePoint < 0x10000) return std::u16string(1, static_cast<char16_t>(codePoint));
    codePoint -= 0x10000;
    return {static_cast<char16_t>(0xD800 + (codePoint >> 10)), static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF))};
}

xkb_keymap* readServerKeymap() {
    xcb_connection_t* connection = XGetXCBConnection(gdk_x11_get_default_xdisplay());
    if (!xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr)) {
        return nullptr;
    }
    const int32_t device = xkb_x11_get_core_keyboard_device_id(connection);
    if (device < 0) return nullptr;
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (!context) return nullptr;
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(context, connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS);
    xkb_context_unref(context);
    return keymap;
}

}  // namespace

XkbKeyboardLayout::XkbKeyboardLayout()
    : serverKeymap_(gdk_keymap_get_for_display(gdk_display_get_default())) {
    keysChangedHandler_ = g_signal_connect(serverKeymap_, "keys-changed", G_CALLBACK(keysChanged), this);
}

XkbKeyboardLayout::XkbKeyboardLayout(xkb_keymap* keymap) : keymap_(xkb_keymap_ref(keymap)) {}

XkbKeyboardLayout::~XkbKeyboardLayout() {
    if (serverKeymap_) g_signal_handler_disconnect(serverKeymap_, keysChangedHandler_);
    xkb_keymap_unref(keymap_);
}

void XkbKeyboardLayout::keysChanged(GdkKeymap*, gpointer self) {
    auto* layout = static_cast<XkbKeyboardLayout*>(self);
    xkb_keymap_unref(layout->keymap_);
    layout->keymap_ = nullptr;
}

xkb_keymap* XkbKeyboardLayout::keymap() const {
    // Reading the server's keymap takes round trips and a compile, about half a millisecond
    // locally and more over a network; the settings window asks for many labels at a time, so
    // the keymap is kept until it changes.
    if (!keymap_ && serverKeymap_) keymap_ = readServerKeymap();
    return keymap_;
}

std::u16string XkbKeyboardLayout::characters(uint32_t keyCode) const {
    const auto key = x11KeyCode(keyCode);
    xkb_keymap* map = keymap();
    if (!key || !map) return {};
    const auto layout = firstASCIICapableLayout(map);
    if (!layout) return {};
    const uint32_t character = levelOneCharacter(map, *key, *layout);
    if (character == 0) return {};
    return utf16(character);
}

}  // namespace brisel::gtk
