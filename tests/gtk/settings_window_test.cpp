// "Briselの設定" as a window, and the key recorder in front of GTK's event handling; what the form
// says and which keys a recording takes are core's.
#include "settings_window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/shortcut_fakes.h"
#include "gtk/main_loop.h"
#include "gtk/widgets.h"
#include "physical_key_codes.h"
#include "shortcuts/shortcut_settings_form.h"

namespace brisel::gtk {
namespace {

// Queues a key press or a focus loss as the X server would deliver it, through GDK's handler.
void put(GdkWindow* window, GdkEventType type, uint32_t x11Key = 0, guint state = 0, bool modifier = false) {
    GdkEvent* event = gdk_event_new(type);
    event->any.window = GDK_WINDOW(g_object_ref(window));
    if (type != GDK_FOCUS_CHANGE) event->key.hardware_keycode = static_cast<guint16>(x11Key), event->key.state = state, event->key.is_modifier = modifier;
    gdk_event_set_device(event, gdk_seat_get_keyboard(gdk_display_get_default_seat(gdk_display_get_default())));
    gdk_event_put(event);
    gdk_event_free(event);
    main_loop::runPending();
}

class SettingsWindowTest : public ::testing::Test {
protected:
    SettingsWindowTest() {
        window.show(settings);
        // The focus the window takes on showing arrives before the events the tests put.
        EXPECT_TRUE(main_loop::runUntil([&] { return gtk_window_is_active(window.window()); }));
        main_loop::runPending();
    }
    GdkWindow* shown() const { return gtk_widget_get_window(GTK_WIDGET(window.window())); }

    brisel::testing::FakeKeyValueStore store;
    brisel::testing::FakeKeyboardLayout layout = brisel::testing::FakeKeyboardLayout::us();
    BriselShortcutSettings settings{store};
    SettingsWindow window{layout};
};

TEST_F(SettingsWindowTest, IsOneFixedWindowAndClosingOrLeavingItEndsTheRecording) {
    std::pair<int, int> size;
    gtk_window_get_size(window.window(), &size.first, &size.second);
    EXPECT_EQ(size, std::pair(640, 430));
    EXPECT_FALSE(gtk_window_get_resizable(window.window()));
    // Clicked, the key display records.
    gtk_button_clicked(GTK_BUTTON(widgets::named(window.window(), shortcutSettingsForm(settings, layout).rows[0].accessibilityLabel)));
    EXPECT_EQ(settings.recording(), BriselShortcutAction::capture);

    put(shown(), GDK_FOCUS_CHANGE);
    EXPECT_FALSE(settings.recording()) << "left";
    settings.begin(BriselShortcutAction::saveAndReturn);
    GtkWindow* made = window.window();
    gtk_window_close(made);
    ASSERT_TRUE(main_loop::runUntil([&] { return !gtk_widget_get_visible(GTK_WIDGET(made)); }));
    EXPECT_FALSE(settings.recording()) << "closed";
    window.show(settings);
    EXPECT_EQ(window.window(), made);
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(made)));
}

TEST_F(SettingsWindowTest, TheRecorderHandsOverKeyPressesAsMacKeysBeforeGtkSeesThem) {
    GtkWidget* other = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_widget_show(other);
    int gtkPresses = 0;
    for (GtkWidget* target : {GTK_WIDGET(window.window()), other}) {
        g_signal_connect(target, "key-press-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, int* count) -> gboolean { ++*count; return TRUE; }), &gtkPresses);
    }
    SettingsKeyRecorder recorder{window};
    std::vector<std::string> seen;
    recorder.install([&](const BriselKeyEvent& key, bool inSettingsWindow) {
        seen.push_back(std::to_string(key.keyCode) + (key.isRepeat ? " repeat" : "") + (inSettingsWindow ? "" : " elsewhere"));
        EXPECT_EQ(key.modifierFlags, key.keyCode == 40 ? event_modifier::command | event_modifier::option : 0) << seen.back();
        return inSettingsWindow;  // what the handler keeps, GTK never sees
    });
    const uint32_t k = *x11KeyCode(40);
    const guint commandOption = GDK_CONTROL_MASK | GDK_MOD1_MASK;
    const struct {
        GdkWindow* window;
        GdkEventType type;
        guint key, state;
        bool modifier;
        std::vector<std::string> offered;  // what the recorder is handed
        const char* why;
    } rows[] = {
        {shown(), GDK_KEY_PRESS, k, commandOption, false, {"40"}, "Ctrl+Alt are ⌘⌥"},
        {shown(), GDK_KEY_PRESS, k, commandOption, false, {"40 repeat"}, "X repeats a held key as presses"},
        {shown(), GDK_KEY_RELEASE, k, 0, false, {}, "released"},
        {shown(), GDK_KEY_PRESS, k, commandOption, false, {"40"}, "so pressed afresh"},
        {shown(), GDK_FOCUS_CHANGE, 0, 0, false, {}, "its release will go elsewhere"},
        {shown(), GDK_KEY_PRESS, k, commandOption, false, {"40"}, "so the next press is no repeat"},
        {shown(), GDK_KEY_PRESS, 37, GDK_CONTROL_MASK, true, {}, "a modifier alone is no key down, and goes to GTK"},
        {gtk_widget_get_window(other), GDK_KEY_PRESS, 67 + 8, 0, false, {"65535 elsewhere"}, "F1, in another window"},
    };
    for (const auto& row : rows) {
        seen.clear();
        put(row.window, row.type, row.key, row.state, row.modifier);
        EXPECT_EQ(seen, row.offered) << row.why;
    }
    EXPECT_EQ(gtkPresses, 2) << "the modifier and F1";

    gtk_widget_destroy(other);
}

}  // namespace
}  // namespace brisel::gtk
