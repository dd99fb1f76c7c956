#include <glib.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "gtk/main_loop.h"
#include "xkb_keyboard_layout.h"

namespace brisel::gtk {
namespace {

constexpr uint32_t keyA = 0;
constexpr uint32_t keyQ = 12;
constexpr uint32_t keyW = 13;
constexpr uint32_t digit1 = 18;

std::unique_ptr<XkbKeyboardLayout> layoutNamed(const char* layouts) {
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names names{"evdev", "pc105", layouts, "", ""};
    xkb_keymap* keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    EXPECT_TRUE(keymap) << layouts;
    auto layout = std::make_unique<XkbKeyboardLayout>(keymap);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    return layout;
}

TEST(XkbKeyboardLayout, FrenchAzertyTypesAOnTheKeyWhereUSTypesQ) {
    const auto us = layoutNamed("us");
    const auto french = layoutNamed("fr");
    EXPECT_EQ(us->characters(keyQ), u"q");
    EXPECT_EQ(french->characters(keyQ), u"a");
    EXPECT_EQ(us->characters(keyA), u"a");
    EXPECT_EQ(french->characters(keyA), u"q");
    EXPECT_EQ(french->characters(keyW), u"z");
    EXPECT_EQ(french->characters(digit1), u"&");
    EXPECT_EQ(us->characters(0xFFFF), u"");
}

TEST(XkbKeyboardLayout, LabelsComeFromTheFirstLayoutThatTypesLatin) {
    EXPECT_EQ(layoutNamed("ru,us")->characters(keyQ), u"q");
    EXPECT_EQ(layoutNamed("ru")->characters(keyQ), u"");
}

void setServerLayout(const char* layout) {
    const std::string command = std::string("setxkbmap ") + layout;
    gint status = -1;
    ASSERT_TRUE(g_spawn_command_line_sync(command.c_str(), nullptr, nullptr, &status, nullptr));
    ASSERT_EQ(status, 0) << command;
}

TEST(XkbKeyboardLayout, FollowsTheXServersKeymapWhenItChanges) {
    const XkbKeyboardLayout server;
    EXPECT_EQ(server.characters(keyQ), u"q");
    setServerLayout("fr");
    EXPECT_TRUE(main_loop::runUntil([&] { return server.characters(keyQ) == u"a"; }));
    setServerLayout("us");
    EXPECT_TRUE(main_loop::runUntil([&] { return server.characters(keyQ) == u"q"; }));
}

}  // namespace
}  // namespace brisel::gtk
