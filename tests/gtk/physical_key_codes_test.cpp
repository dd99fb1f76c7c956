#include <gdk/gdk.h>
#include <set>
#include <gtest/gtest.h>

#include "physical_key_codes.h"
#include "shortcuts/key_binding.h"
#include "shortcuts/physical_keys.h"

namespace brisel::gtk {
namespace {

TEST(PhysicalKeyCodes, EveryBindableKeyHasItsOwnX11KeyAndComesBack) {
    std::set<uint32_t> seen;
    for (const auto& key : physicalKeys) {
        const auto x11 = x11KeyCode(key.keyCode);
        ASSERT_TRUE(x11) << key.code;
        EXPECT_TRUE(seen.insert(*x11).second) << key.code << " shares an X11 key";
        EXPECT_EQ(macKeyCode(*x11), key.keyCode) << key.code;
    }
    EXPECT_EQ(x11KeyCode(40), 45u);  // K is evdev 37
    EXPECT_EQ(macKeyCode(x11KeyCode(key_code::tab).value()), key_code::tab);
    EXPECT_FALSE(macKeyCode(67 + 8));  // F1
}

TEST(PhysicalKeyCodes, CommandIsControlAndControlIsSuper) {
    const uint32_t captureDefault = BriselKeyBinding::command | BriselKeyBinding::option;
    EXPECT_EQ(x11Modifiers(captureDefault), uint32_t(GDK_CONTROL_MASK | GDK_MOD1_MASK));
    EXPECT_EQ(x11Modifiers(BriselKeyBinding::control | BriselKeyBinding::shift),
              uint32_t(GDK_MOD4_MASK | GDK_SHIFT_MASK));
    EXPECT_EQ(gdkModifiers(BriselKeyBinding::control | BriselKeyBinding::command), GDK_SUPER_MASK | GDK_CONTROL_MASK);
    EXPECT_EQ(eventModifierFlags(GDK_CONTROL_MASK | GDK_MOD1_MASK), event_modifier::command | event_modifier::option);
    EXPECT_EQ(eventModifierFlags(GDK_SUPER_MASK | GDK_SHIFT_MASK | GDK_LOCK_MASK),
              event_modifier::control | event_modifier::shift);
}

}  // namespace
}  // namespace brisel::gtk
