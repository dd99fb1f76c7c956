#include "physical_key_codes.h"

#include <gdk/gdk.h>
#include <X11/X.h>

#include <array>
#include <utility>

#include "shortcuts/key_binding.h"
#include "shortcuts/physical_keys.h"

namespace brisel::gtk {

namespace {

constexpr uint32_t evdevOffset = 8;

// macOS key code → evdev code, for the bindable keys and Tab (which cancels recording).
constexpr std::array<std::pair<uint32_t, uint32_t>, 40> evdevCodes{{
    {0, 30},  {11, 48}, {8, 46},  {2, 32},  {14, 18}, {3, 33},  {5, 34},  {4, 35},  {34, 23}, {38, 36},
    {40, 37}, {37, 38}, {46, 50}, {45, 49}, {31, 24}, {35, 25}, {12, 16}, {15, 19}, {1, 31},  {17, 20},
    {32, 22}, {9, 47},  {13, 17}, {7, 45},  {16, 21}, {6, 44},
    {18, 2},  {19, 3},  {20, 4},  {21, 5},  {23, 6},  {22, 7},  {26, 8},  {28, 9},  {25, 10}, {29, 11},
    {key_code::returnKey, 28}, {key_code::space, 57}, {key_code::escape, 1}, {key_code::tab, 15},
}};

// ⌘ is Ctrl, ⌥ is Alt, ⌃ is Super and ⇧ is Shift.
struct Modifier {
    uint32_t carbon;
    GdkModifierType gdk;
    uint64_t event;
};
constexpr std::array<Modifier, 4> modifiers{{
    {BriselKeyBinding::command, GDK_CONTROL_MASK, event_modifier::command},
    {BriselKeyBinding::option, GDK_MOD1_MASK, event_modifier::option},
    {BriselKeyBinding::control, GDK_SUPER_MASK, event_modifier::control},
    {BriselKeyBinding::shift, GDK_SHIFT_MASK, event_modifier::shift},
}};

}  // namespace

std::optional<uint32_t> x11KeyCode(uint32_t mac) {
    for (const auto& [macCode, evdev] : evdevCodes) {
        if (macCode == mac) return evdev + evdevOffset;
    }
    return std::nullopt;
}

std::optional<uint32_t> macKeyCode(uint32_t x11) {
    for (const auto& [macCode, evdev] : evdevCodes) {
        if (evdev + evdevOffset == x11) return macCode;
    }
    return std::nullopt;
}

GdkModifierType gdkModifiers(uint32_t carbon) {
    int mask = 0;
    for (const Modifier& modifier : modifiers) {
        if (carbon & modifier.carbon) mask |= modifier.gdk;
    }
    return static_cast<GdkModifierType>(mask);
}

uint32_t x11Modifiers(uint32_t carbon) {
    GdkModifierType state = gdkModifiers(carbon);
    gdk_keymap_map_virtual_modifiers(gdk_keymap_get_for_display(gdk_display_get_default()), &state);
    constexpr uint32_t realModifiers = ShiftMask | LockMask | ControlMask | Mod1Mask | Mod2Mask | Mod3Mask |
                                       Mod4Mask | Mod5Mask;
    return state & realModifiers;
}

uint64_t eventModifierFlags(uint32_t state) {
    // An event may carry Super only as the real modifier it sits on.
    auto withVirtual = static_cast<GdkModifierType>(state);
    gdk_keymap_add_virtual_modifiers(gdk_keymap_get_for_display(gdk_display_get_default()), &withVirtual);
    uint64_t flags = 0;
    for (const Modifier& modifier : modifiers) {
        if (withVirtual & modifier.gdk) flags |= modifier.event;
    }
    return flags;
}

}  // namespace brisel::gtk
