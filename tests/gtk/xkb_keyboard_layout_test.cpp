// Key labels from XKB keymaps, and from the X server's own as it changes.
#include <glib.h>
#include <gtest/gtest.h>

#include <string>

#include "gtk/main_loop.h"
#include "xkb_keyboard_layout.h"

namespace brisel::gtk {
namespace {

constexpr uint32_t keyA = 0, keyQ = 12, keyW = 13, digit1 = 18;

std::u16string characters(const char* layouts, uint32_t macKeyCode) {
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names names{"evdev", "pc105", layouts, "", ""};
    xkb_keymap* keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    EXPECT_TRUE(keymap) << layouts;
    const std::u16string typed = XkbKeyboardLayout(keymap).characters(macKeyCode);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    return typed;
}

TEST(XkbKeyboardLayout, LabelsAreWhatTheFirstLatinLayoutTypesOnThePhysicalKey) {
    const struct {
        const char* layouts;
        uint32_t key;
        std::u16string typed;
        const char* why;
    } rows[] = {
        {"us", keyQ, u"q", "US"},
        {"fr", keyQ, u"a", "AZERTY types A where US types Q"},
        {"fr", keyA, u"q", "and Q where US types A"},
        {"fr", keyW, u"z", "and Z where US types W"},
        {"fr", digit1, u"&", "the unshifted digit key"},
        {"us", 0xFFFF, u"", "no such key"},
        {"ru,us", keyQ, u"q", "the first layout that types Latin"},
        {"ru", keyQ, u"", "none types Latin"},
    };
    for (const auto& row : rows) EXPECT_EQ(characters(row.layouts, row.key), row.typed) << row.why;
}

TEST(XkbKeyboardLayout, FollowsTheXServersKeymapWhenItChanges) {
    const XkbKeyboardLayout server;
    for (const auto& [layout, typed] : {std::pair{"us", u"q"}, {"fr", u"a"}, {"us", u"q"}}) {
        gint status = -1;
        ASSERT_TRUE(g_spawn_command_line_sync((std::string("setxkbmap ") + layout).c_str(), nullptr, nullptr, &status, nullptr));
        ASSERT_EQ(status, 0) << layout;
        EXPECT_TRUE(main_loop::runUntil([&] { return server.characters(keyQ) == typed; })) << layout;
    }
}

}  // namespace
}  // namespace brisel::gtk
