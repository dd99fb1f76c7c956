// Key labels from the X server's keymap, as the user switches layouts.
#include <gtest/gtest.h>

#include <string>

#include "gtk/child_process.h"
#include "xkb_keyboard_layout.h"

namespace brisel::gtk {
namespace {

constexpr uint32_t keyQ = 12, digit1 = 18;

TEST(XkbKeyboardLayout, LabelsAreWhatTheFirstLatinLayoutOfTheServersKeymapTypesOnThePhysicalKey) {
    const XkbKeyboardLayout server;
    const struct {
        const char* layouts;
        uint32_t key;  // a US key code
        std::u16string typed;
        const char* why;
    } rows[] = {
        {"us", keyQ, u"q", "US"},
        {"fr", keyQ, u"a", "AZERTY types A where US types Q"},
        {"fr", digit1, u"&", "the unshifted digit key"},
        {"fr", 0xFFFF, u"", "no such key"},
        {"ru,us", keyQ, u"q", "the first layout that types Latin"},
        {"ru", keyQ, u"", "none types Latin"},
        {"us", keyQ, u"q", "back to US"},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(testing::ChildProcess({"setxkbmap", row.layouts}).readToEnd()) << row.layouts;
        EXPECT_TRUE(main_loop::runUntil([&] { return server.characters(row.key) == row.typed; }, 2000)) << row.why;
    }
}

}  // namespace
}  // namespace brisel::gtk
