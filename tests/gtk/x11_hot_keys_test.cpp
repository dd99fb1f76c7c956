// The global hot key on the real X server, pressed by another client and contested by others.
// GoogleTest before Xlib, whose None and Bool macros would break its headers.
#include <gtest/gtest.h>

#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <vector>

#include "gtk/main_loop.h"
#include "gtk/other_x_client.h"
#include "physical_key_codes.h"
#include "shortcuts/key_binding.h"
#include "x11_hot_keys.h"

namespace brisel::gtk {
namespace {

constexpr uint32_t keyJ = 38, keyK = 40;
constexpr uint32_t commandOption = BriselKeyBinding::command | BriselKeyBinding::option;

// Presses and releases `keys` in order, as the keyboard would, through another client.
void press(const testing::OtherXClient& keyboard, const std::vector<KeyCode>& keys) {
    for (KeyCode key : keys) XTestFakeKeyEvent(keyboard.display(), key, True, 0);
    for (KeyCode key : keys) XTestFakeKeyEvent(keyboard.display(), key, False, 0);
    XFlush(keyboard.display());
}

int grabFrom(const testing::OtherXClient& client, uint32_t macKeyCode, unsigned modifiers) {
    return client.errorOf([&] {
        XGrabKey(client.display(), static_cast<int>(*x11KeyCode(macKeyCode)), modifiers, client.root(), False,
                 GrabModeAsync, GrabModeAsync);
    });
}

TEST(X11HotKeys, APressOfTheBindingReachesTheHandlerWhateverLocksAreOn) {
    X11HotKeys hotKeys;
    int presses = 0;
    ASSERT_EQ(hotKeys.installHandler([&] { return ++presses > 0; }), 0);
    const auto registration = hotKeys.registerHotKey(keyJ, commandOption);
    ASSERT_EQ(registration.status, 0);
    testing::OtherXClient keyboard;
    const auto key = [&](KeySym symbol) { return XKeysymToKeycode(keyboard.display(), symbol); };
    const KeyCode caps = key(XK_Caps_Lock), num = key(XK_Num_Lock);
    const std::vector<std::pair<std::vector<KeyCode>, const char*>> locks = {
        {{}, "none"}, {{caps}, "Caps Lock"}, {{num}, "Num Lock"}, {{caps, num}, "Caps Lock and Num Lock"}};
    for (const auto& [on, why] : locks) {
        for (KeyCode lock : on) press(keyboard, {lock});
        press(keyboard, {key(XK_Control_L), key(XK_Alt_L), static_cast<KeyCode>(*x11KeyCode(keyJ))});
        EXPECT_TRUE(main_loop::runUntil([&, expected = presses + 1] { return presses == expected; })) << why;
        for (KeyCode lock : on) press(keyboard, {lock});
    }
    hotKeys.unregisterHotKey(*registration.ref);
}

TEST(X11HotKeys, AKeyAnotherProgramHoldsIsRefusedAndLeavesNothingGrabbed) {
    X11HotKeys hotKeys;
    const auto kept = hotKeys.registerHotKey(keyJ, commandOption);
    ASSERT_EQ(kept.status, 0);
    testing::OtherXClient other, third;
    EXPECT_EQ(grabFrom(third, keyJ, ControlMask | Mod1Mask | LockMask), BadAccess) << "ours, Caps Lock variant too";

    ASSERT_EQ(grabFrom(other, keyK, ControlMask | Mod1Mask), 0);
    const auto refused = hotKeys.registerHotKey(keyK, commandOption);
    EXPECT_EQ(refused.status, BadAccess);
    EXPECT_FALSE(refused.ref);
    // The Caps Lock variant was granted to us before the refusal came in, and let go since.
    EXPECT_EQ(grabFrom(third, keyK, ControlMask | Mod1Mask | LockMask), 0);

    hotKeys.unregisterHotKey(*kept.ref);
    EXPECT_EQ(grabFrom(third, keyJ, ControlMask | Mod1Mask), 0);
}

}  // namespace
}  // namespace brisel::gtk
