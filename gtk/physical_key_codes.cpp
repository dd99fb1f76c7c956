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

uint32_t x11Modifiers(uint32_t carbon) {
    uint32_t mask = 0;
    if (carbon & BriselKeyBinding::command) mask |= ControlMask;
    if (carbon & BriselKeyBinding::option) mask |= Mod1Mask;
    if (carbon & BriselKeyBinding::control) mask |= Mod4Mask;
    if (carbon & BriselKeyBinding::shift) mask |= ShiftMask;
    return mask;
}

uint64_t eventModifierFlags(uint32_t state) {
    uint64_t flags = 0;
    if (state & GDK_CONTROL_MASK) flags |= event_modifier::command;
    if (state & GDK_MOD1_MASK) flags |= event_modifier::option;
    if (state & (GDK_SUPER_MASK | GDK_MOD4_MASK)) flags |= event_modifier::control;
    if (state & GDK_SHIFT_MASK) flags |= event_modifier::shift;
    return flags;
}

}  // namespace brisel::gtk
