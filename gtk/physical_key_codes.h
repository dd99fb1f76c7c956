#pragma once

#include <gdk/gdk.h>

#include <cstdint>
#include <optional>

// Bindings keep macOS key codes and Carbon modifier bits on every platform, so the stored value
// and the page's view of it are the same everywhere. On Linux the keys are the same physical
// keys (X11 key codes are the kernel's evdev codes plus 8) and the modifiers map as the
// panel's menu does: ⌘ is Ctrl, ⌥ is Alt, ⌃ is Super and ⇧ is Shift.
namespace brisel::gtk {

// The X11 key code of the physical key behind a bindable macOS key code (and Tab).
std::optional<uint32_t> x11KeyCode(uint32_t macKeyCode);
// The macOS key code of an X11 key code; absent for keys that cannot be bound.
std::optional<uint32_t> macKeyCode(uint32_t x11KeyCode);
// What the recorder is handed for a key outside the table, so validation refuses it by name.
inline constexpr uint32_t unbindableKeyCode = 0xFFFF;

// The one mapping of the four modifiers, for the menu, the reading-controls strip, the global
// hot key and the recorder alike: Carbon modifier bits to GDK's accelerator modifiers.
GdkModifierType gdkModifiers(uint32_t carbonModifiers);
// The same modifiers as the X11 mask of a key grab (Super is a real modifier there, mostly Mod4).
uint32_t x11Modifiers(uint32_t carbonModifiers);
// A GDK modifier state to the device-independent NSEvent modifier flags core reads.
uint64_t eventModifierFlags(uint32_t gdkModifierState);

}  // namespace brisel::gtk
