// GoogleTest before Xlib, whose None and Bool macros would break its headers.
#include <gtest/gtest.h>

#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <initializer_list>

#include "gtk/main_loop.h"
#include "gtk/other_x_client.h"
#include "physical_key_codes.h"
#include "shortcuts/key_binding.h"
#include "x11_hot_keys.h"

namespace brisel::gtk {
namespace {

constexpr uint32_t keyJ = 38;
constexpr uint32_t keyK = 40;
constexpr uint32_t commandOption = BriselKeyBinding::command | BriselKeyBinding::option;

// Presses and releases a chord through XTest, as the keyboard would.
void press(const testing::OtherXClient& keyboard, std::initializer_list<KeySym> modifiers, uint32_t macKeyCode) {
    Display* display = keyboard.display();
    for (KeySym modifier : modifiers) XTestFakeKeyEvent(display, XKeysymToKeycode(display, modifier), True, 0);
    const unsigned key = *x11KeyCode(macKeyCode);
    XTestFakeKeyEvent(display, key, True, 0);
    XTestFakeKeyEvent(display, key, False, 0);
    for (KeySym modifier : modifiers) XTestFakeKeyEvent(display, XKeysymToKeycode(display, modifier), False, 0);
    XFlush(display);
}

// Turns a lock on or off.
void tap(const testing::OtherXClient& keyboard, KeySym lock) {
    Display* display = keyboard.display();
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, lock), True, 0);
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, lock), False, 0);
    XFlush(display);
}

int grabFrom(const testing::OtherXClient& client, uint32_t macKeyCode, unsigned modifiers) {
    return client.errorOf([&] {
        XGrabKey(client.display(), static_cast<int>(*x11KeyCode(macKeyCode)), modifiers, client.root(), False,
                 GrabModeAsync, GrabModeAsync);
    });
}

TEST(X11HotKeys, APressOfTheBindingReachesTheHandlerWithCapsLockOrNumLockOnToo) {
    X11HotKeys hotKeys;
    int presses = 0;
    ASSERT_EQ(hotKeys.installHandler([&] { return ++presses > 0; }), 0);
    const auto registration = hotKeys.registerHotKey(keyJ, commandOption);
    ASSERT_EQ(registration.status, 0);
    ASSERT_TRUE(registration.ref);

    testing::OtherXClient keyboard;
    press(keyboard, {XK_Control_L, XK_Alt_L}, keyJ);
    EXPECT_TRUE(main_loop::runUntil([&] { return presses == 1; }));
    int expected = 1;
    for (KeySym lock : {XK_Caps_Lock, XK_Num_Lock}) {
        tap(keyboard, lock);
        press(keyboard, {XK_Control_L, XK_Alt_L}, keyJ);
        EXPECT_TRUE(main_loop::runUntil([&] { return presses == expected + 1; })) << XKeysymToString(lock);
        tap(keyboard, lock);
        ++expected;
    }
    hotKeys.unregisterHotKey(*registration.ref);
}

TEST(X11HotKeys, AKeyAnotherProgramHoldsIsRefusedAndLeavesNothingGrabbed) {
    X11HotKeys hotKeys;
    int presses = 0;
    hotKeys.installHandler([&] { return ++presses > 0; });
    const auto kept = hotKeys.registerHotKey(keyJ, commandOption);
    ASSERT_EQ(kept.status, 0);

    testing::OtherXClient other;
    ASSERT_EQ(grabFrom(other, keyK, ControlMask | Mod1Mask), 0);
    const auto refused = hotKeys.registerHotKey(keyK, commandOption);
    EXPECT_EQ(refused.status, BadAccess);
    EXPECT_FALSE(refused.ref);
    // The Caps Lock variant was granted to us before the refusal came in, and let go since.
    testing::OtherXClient third;
    EXPECT_EQ(grabFrom(third, keyK, ControlMask | Mod1Mask | LockMask), 0);

    press(other, {XK_Control_L, XK_Alt_L}, keyJ);
    EXPECT_TRUE(main_loop::runUntil([&] { return presses == 1; }));
    hotKeys.unregisterHotKey(*kept.ref);
    EXPECT_EQ(grabFrom(third, keyJ, ControlMask | Mod1Mask), 0);
}

}  // namespace
}  // namespace brisel::gtk
