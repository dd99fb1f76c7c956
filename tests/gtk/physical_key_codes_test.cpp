// Bindings keep macOS key codes and Carbon modifiers; on Linux they are the same physical keys,
// with ⌘ as Ctrl, ⌥ as Alt, ⌃ as Super and ⇧ as Shift.
#include <gdk/gdk.h>
#include <gtest/gtest.h>

#include <set>

#include "physical_key_codes.h"
#include "shortcuts/key_binding.h"
#include "shortcuts/physical_keys.h"

namespace brisel::gtk {
namespace {

TEST(PhysicalKeyCodes, EveryBindableKeyHasItsOwnX11KeyAndComesBack) {
    std::set<uint32_t> seen;
    for (const auto& key : physicalKeys) {
        EXPECT_TRUE(seen.insert(x11KeyCode(key.keyCode).value_or(0)).second) << key.code << " shares an X11 key, or has none";
        EXPECT_EQ(macKeyCode(x11KeyCode(key.keyCode).value_or(0)), key.keyCode) << key.code;
    }
    EXPECT_EQ(x11KeyCode(40), 45u);  // K is evdev 37
}

TEST(PhysicalKeyCodes, EachModifierMapsToItsOwnAndBack) {
    using B = BriselKeyBinding;
    for (const auto& [carbon, gdk, x11, flags] : {
             std::tuple{B::command, GDK_CONTROL_MASK, uint32_t(GDK_CONTROL_MASK), event_modifier::command},
             {B::option, GDK_MOD1_MASK, uint32_t(GDK_MOD1_MASK), event_modifier::option},
             {B::control, GDK_SUPER_MASK, uint32_t(GDK_MOD4_MASK), event_modifier::control},
             {B::shift, GDK_SHIFT_MASK, uint32_t(GDK_SHIFT_MASK), event_modifier::shift}}) {
        EXPECT_EQ(gdkModifiers(carbon), gdk) << carbon;
        EXPECT_EQ(x11Modifiers(carbon), x11) << carbon << ": the real modifier of a key grab";
        EXPECT_EQ(eventModifierFlags(gdk | GDK_LOCK_MASK), flags) << carbon << ": Caps Lock is no modifier";
    }
    EXPECT_EQ(eventModifierFlags(GDK_MOD4_MASK), event_modifier::control) << "Super as the real modifier it sits on";
}

}  // namespace
}  // namespace brisel::gtk
