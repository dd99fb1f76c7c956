// The global hot key on the real X server, pressed by another client and contested by others.
// GoogleTest before Xlib, whose None and Bool macros would break its headers.
#include <gtest/gtest.h>

#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <memory>
#include <vector>

#include "gtk/main_loop.h"
#include "physical_key_codes.h"
#include "shortcuts/key_binding.h"
#include "x11_hot_keys.h"

namespace brisel::gtk {
namespace {

constexpr uint32_t keyJ = 38, keyK = 40;
constexpr uint32_t commandOption = BriselKeyBinding::command | BriselKeyBinding::option;

// Another client of the X server: a connection of its own.
using Client = std::unique_ptr<Display, int (*)(Display*)>;
Client connect() { return {XOpenDisplay(nullptr), XCloseDisplay}; }

// Presses and releases `keys` in order, as the keyboard would.
void press(Display* keyboard, const std::vector<KeyCode>& keys) {
    for (KeyCode key : keys) XTestFakeKeyEvent(keyboard, key, True, 0);
    for (KeyCode key : keys) XTestFakeKeyEvent(keyboard, key, False, 0);
    XFlush(keyboard);
}

// The X error `client`'s grab of the key caused, 0 for none (GDK's handler ignores connections it did not open).
int grabFrom(Display* client, uint32_t macKeyCode, unsigned modifiers) {
    static int lastError;
    XSync(client, False);
    lastError = 0;
    const XErrorHandler previous = XSetErrorHandler([](Display*, XErrorEvent* error) { return lastError = error->error_code, 0; });
    XGrabKey(client, static_cast<int>(*x11KeyCode(macKeyCode)), modifiers, DefaultRootWindow(client), False, GrabModeAsync, GrabModeAsync);
    XSync(client, False);
    XSetErrorHandler(previous);
    return lastError;
}

TEST(X11HotKeys, APressOfTheBindingReachesTheHandlerWhateverLocksAreOn) {
    X11HotKeys hotKeys;
    int presses = 0;
    ASSERT_EQ(hotKeys.installHandler([&] { return ++presses > 0; }), 0);
    const auto registration = hotKeys.registerHotKey(keyJ, commandOption);
    ASSERT_EQ(registration.status, 0);
    const Client keyboard = connect();
    const auto key = [&](KeySym symbol) { return XKeysymToKeycode(keyboard.get(), symbol); };
    const KeyCode caps = key(XK_Caps_Lock), num = key(XK_Num_Lock);
    const std::vector<std::pair<std::vector<KeyCode>, const char*>> locks = {
        {{}, "none"}, {{caps}, "Caps Lock"}, {{num}, "Num Lock"}, {{caps, num}, "Caps Lock and Num Lock"}};
    for (const auto& [on, why] : locks) {
        for (KeyCode lock : on) press(keyboard.get(), {lock});
        press(keyboard.get(), {key(XK_Control_L), key(XK_Alt_L), static_cast<KeyCode>(*x11KeyCode(keyJ))});
        EXPECT_TRUE(main_loop::runUntil([&, expected = presses + 1] { return presses == expected; })) << why;
        for (KeyCode lock : on) press(keyboard.get(), {lock});
    }
}

TEST(X11HotKeys, AKeyAnotherProgramHoldsIsRefusedAndLeavesNothingGrabbed) {
    X11HotKeys hotKeys;
    const auto kept = hotKeys.registerHotKey(keyJ, commandOption);
    ASSERT_EQ(kept.status, 0);
    const Client other = connect(), third = connect();
    EXPECT_EQ(grabFrom(third.get(), keyJ, ControlMask | Mod1Mask | LockMask), BadAccess) << "ours, Caps Lock variant too";

    ASSERT_EQ(grabFrom(other.get(), keyK, ControlMask | Mod1Mask), 0);
    const auto refused = hotKeys.registerHotKey(keyK, commandOption);
    EXPECT_EQ(refused.status, BadAccess);
    EXPECT_FALSE(refused.ref);
    // The Caps Lock variant was granted to us before the refusal came in, and let go since.
    EXPECT_EQ(grabFrom(third.get(), keyK, ControlMask | Mod1Mask | LockMask), 0);

    hotKeys.unregisterHotKey(*kept.ref);
    EXPECT_EQ(grabFrom(third.get(), keyJ, ControlMask | Mod1Mask), 0);
}

}  // namespace
}  // namespace brisel::gtk
