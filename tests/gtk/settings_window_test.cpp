#include "settings_window.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/shortcut_fakes.h"
#include "gtk/main_loop.h"
#include "gtk/widgets.h"
#include "physical_key_codes.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel::gtk {
namespace {

using Action = BriselShortcutAction;

GtkWidget* buttonTitled(GtkWindow* window, const std::string& title) {
    return widgets::find(GTK_WIDGET(window), [&](GtkWidget* widget) {
        const char* label = GTK_IS_BUTTON(widget) ? gtk_button_get_label(GTK_BUTTON(widget)) : nullptr;
        return label && label == title;
    });
}

std::string caption(GtkWidget* keyButton) {
    return gtk_label_get_text(GTK_LABEL(gtk_bin_get_child(GTK_BIN(keyButton))));
}

GdkWindow* gdkWindow(GtkWindow* window) { return gtk_widget_get_window(GTK_WIDGET(window)); }

// Queues an event as the X server would deliver it, so it goes through GDK's event handler.
void put(GdkEvent* event, GdkWindow* window) {
    if (window) event->any.window = GDK_WINDOW(g_object_ref(window));
    gdk_event_set_device(event, gdk_seat_get_keyboard(gdk_display_get_default_seat(gdk_display_get_default())));
    gdk_event_put(event);
    gdk_event_free(event);
    main_loop::runPending();
}

void putKey(GdkWindow* window, GdkEventType type, uint32_t macKey, guint state = 0) {
    GdkEvent* event = gdk_event_new(type);
    event->key.hardware_keycode = static_cast<guint16>(x11KeyCode(macKey).value());
    event->key.state = state;
    put(event, window);
}

void putFocus(GdkWindow* window, bool in) {
    GdkEvent* event = gdk_event_new(GDK_FOCUS_CHANGE);
    event->focus_change.in = in;
    put(event, window);
}

class SettingsWindowTest : public ::testing::Test {
protected:
    brisel::testing::FakeKeyValueStore store;
    brisel::testing::FakeKeyboardLayout layout = brisel::testing::FakeKeyboardLayout::us();
    BriselShortcutSettings settings{store};
    SettingsWindow window{layout};
};

TEST_F(SettingsWindowTest, RedrawsWhileRecordingAndShowsARefusedKey) {
    window.show(settings);
    GtkWindow* shown = window.window();
    GtkWidget* capture = widgets::buttonNamed(shown, "Kindleの選択文を取り込むのショートカット");
    GtkWidget* returnKey = widgets::buttonNamed(shown, "読書に戻るのショートカット");
    GtkWidget* cancel = buttonTitled(shown, "入力をキャンセル");
    GtkWidget* restore = buttonTitled(shown, "標準に戻す");
    GtkWidget* message = widgets::find(GTK_WIDGET(shown), [](GtkWidget* widget) {
        return g_strcmp0(gtk_widget_get_name(widget), "shortcut-settings-message") == 0;
    });
    ASSERT_TRUE(capture && returnKey && cancel && restore && message);
    EXPECT_EQ(caption(capture), "⌥⌘K");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(capture), "クリックして変更。Escでキャンセル。");
    EXPECT_FALSE(gtk_widget_get_visible(cancel));

    gtk_button_clicked(GTK_BUTTON(capture));
    EXPECT_EQ(settings.recording(), Action::capture);
    EXPECT_EQ(caption(capture), "キーを押してください…");
    EXPECT_STREQ(atk_object_get_description(gtk_widget_get_accessible(capture)), "キー入力を待っています");
    EXPECT_EQ(caption(returnKey), "Esc");
    EXPECT_TRUE(gtk_widget_get_visible(cancel));

    settings.accept({40, event_modifier::command, false});  // ⌘K: capture needs a second modifier
    EXPECT_EQ(caption(capture), "キーを押してください…");
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(message)), shortcut_texts::captureNeedsSecondModifier);
    EXPECT_STREQ(atk_object_get_accessible_id(gtk_widget_get_accessible(message)), "shortcut-settings-message");

    gtk_button_clicked(GTK_BUTTON(cancel));
    EXPECT_FALSE(settings.recording());
    EXPECT_EQ(caption(capture), "⌥⌘K");
    EXPECT_FALSE(gtk_widget_get_visible(cancel));

    gtk_button_clicked(GTK_BUTTON(restore));
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(message)), "変更を保存しました。");
}

// The desktop's text size for one test.
class DesktopFont {
public:
    explicit DesktopFont(const char* name) {
        g_object_get(gtk_settings_get_default(), "gtk-font-name", &previous_, nullptr);
        g_object_set(gtk_settings_get_default(), "gtk-font-name", name, nullptr);
    }
    ~DesktopFont() {
        g_object_set(gtk_settings_get_default(), "gtk-font-name", previous_, nullptr);
        g_free(previous_);
    }
    DesktopFont(const DesktopFont&) = delete;
    DesktopFont& operator=(const DesktopFont&) = delete;

private:
    gchar* previous_ = nullptr;
};

TEST_F(SettingsWindowTest, TheKeyDisplayIsExactly184WideAlsoWhileItWaitsForAKeyInLargeText) {
    const DesktopFont large("Sans 20");
    window.show(settings);
    GtkWidget* capture = widgets::buttonNamed(window.window(), "Kindleの選択文を取り込むのショートカット");
    const auto width = [&] {
        int minimum = 0, natural = 0;
        gtk_widget_get_preferred_width(capture, &minimum, &natural);
        return std::pair{minimum, natural};
    };
    EXPECT_EQ(width(), std::pair(184, 184));
    settings.begin(Action::capture);
    ASSERT_EQ(caption(capture), "キーを押してください…");
    EXPECT_EQ(width(), std::pair(184, 184));
    ASSERT_TRUE(main_loop::runUntil([&] { return gtk_widget_get_allocated_width(capture) > 1; }));
    EXPECT_EQ(gtk_widget_get_allocated_width(capture), 184);
}

TEST_F(SettingsWindowTest, IsOneFixedWindowThatClosingHidesAndEndsTheRecording) {
    window.show(settings);
    GtkWindow* made = window.window();
    ASSERT_TRUE(main_loop::runUntil([&] { return gtk_widget_get_mapped(GTK_WIDGET(made)); }));
    EXPECT_STREQ(gtk_window_get_title(made), "Briselの設定");
    EXPECT_FALSE(gtk_window_get_resizable(made));
    int width = 0, height = 0;
    gtk_window_get_size(made, &width, &height);
    EXPECT_EQ(width, 640);
    EXPECT_EQ(height, 430);

    settings.begin(Action::saveAndReturn);
    gtk_window_close(made);
    ASSERT_TRUE(main_loop::runUntil([&] { return !gtk_widget_get_visible(GTK_WIDGET(made)); }));
    EXPECT_FALSE(settings.recording());

    window.show(settings);
    EXPECT_EQ(window.window(), made);
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(made)));
    window.show(settings);
    EXPECT_EQ(window.window(), made);
}

TEST_F(SettingsWindowTest, LeavingTheWindowEndsTheRecording) {
    window.show(settings);
    putFocus(gdkWindow(window.window()), true);
    settings.begin(Action::returnToReading);
    putFocus(gdkWindow(window.window()), false);
    EXPECT_FALSE(settings.recording());
}

TEST_F(SettingsWindowTest, SettingsThatGoFirstAreLeftAlone) {
    auto shortLived = std::make_unique<BriselShortcutSettings>(store);
    window.show(*shortLived);
    GtkWidget* capture = widgets::buttonNamed(window.window(), "Kindleの選択文を取り込むのショートカット");
    shortLived.reset();
    gtk_button_clicked(GTK_BUTTON(capture));  // and the window's destructor, under ASan
}

class SettingsKeyRecorderTest : public SettingsWindowTest {
protected:
    struct KeyDown {
        BriselKeyEvent event;
        bool inSettingsWindow;
    };

    SettingsKeyRecorderTest() {
        window.show(settings);
        other = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
        gtk_widget_show(GTK_WIDGET(other));
        countPresses(window.window(), settingsWindowPresses);
        countPresses(other, otherWindowPresses);
        // The focus the window takes on showing arrives before the keys the tests put.
        main_loop::runUntil([&] { return gtk_window_is_active(window.window()); });
        main_loop::runPending();
    }
    ~SettingsKeyRecorderTest() override { gtk_widget_destroy(GTK_WIDGET(other)); }

    static void countPresses(GtkWindow* target, int& presses) {
        g_signal_connect(target, "key-press-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer count) -> gboolean {
                             ++*static_cast<int*>(count);
                             return TRUE;
                         }),
                         &presses);
    }

    void install() {
        recorder.install([this](const BriselKeyEvent& event, bool inSettingsWindow) {
            seen.push_back({event, inSettingsWindow});
            return swallow;
        });
    }

    SettingsKeyRecorder recorder{window};
    GtkWindow* other = nullptr;
    int settingsWindowPresses = 0;
    int otherWindowPresses = 0;
    std::vector<KeyDown> seen;
    bool swallow = true;
};

TEST_F(SettingsKeyRecorderTest, HandsOverKeyPressesAsMacKeysAndSwallowsWhenAsked) {
    install();
    GdkWindow* settingsWindow = gdkWindow(window.window());
    putKey(settingsWindow, GDK_KEY_PRESS, 40, GDK_CONTROL_MASK | GDK_MOD1_MASK);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].event.keyCode, 40u);
    EXPECT_EQ(seen[0].event.modifierFlags, event_modifier::command | event_modifier::option);
    EXPECT_FALSE(seen[0].event.isRepeat);
    EXPECT_TRUE(seen[0].inSettingsWindow);
    EXPECT_EQ(settingsWindowPresses, 0);

    putKey(settingsWindow, GDK_KEY_PRESS, 40);
    putKey(settingsWindow, GDK_KEY_RELEASE, 40);
    putKey(settingsWindow, GDK_KEY_PRESS, 40);
    putFocus(settingsWindow, false);  // its release goes elsewhere
    putKey(settingsWindow, GDK_KEY_PRESS, 40);
    ASSERT_EQ(seen.size(), 4u);
    EXPECT_TRUE(seen[1].event.isRepeat);
    EXPECT_FALSE(seen[2].event.isRepeat);
    EXPECT_FALSE(seen[3].event.isRepeat);

    swallow = false;
    GdkEvent* f1 = gdk_event_new(GDK_KEY_PRESS);
    f1->key.hardware_keycode = 67 + 8;
    put(f1, gdkWindow(other));
    ASSERT_EQ(seen.size(), 5u);
    EXPECT_EQ(seen[4].event.keyCode, unbindableKeyCode);
    EXPECT_FALSE(seen[4].inSettingsWindow);
    EXPECT_EQ(otherWindowPresses, 1);
}

TEST_F(SettingsKeyRecorderTest, AModifierAloneIsNoKeyDown) {
    install();
    GdkEvent* control = gdk_event_new(GDK_KEY_PRESS);
    control->key.hardware_keycode = 37;  // Control_L
    control->key.is_modifier = 1;
    put(control, gdkWindow(window.window()));
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(settingsWindowPresses, 1);
}

TEST_F(SettingsKeyRecorderTest, RemovingGivesTheKeysBackToGtkEvenFromInsideTheHandler) {
    auto calls = std::make_shared<int>(0);
    recorder.install([this, calls](const BriselKeyEvent&, bool) {
        recorder.remove();  // recording ended by this very key
        return ++*calls == 1;
    });
    putKey(gdkWindow(window.window()), GDK_KEY_PRESS, 40);
    putKey(gdkWindow(window.window()), GDK_KEY_PRESS, 0);
    EXPECT_EQ(*calls, 1);
    EXPECT_EQ(settingsWindowPresses, 1);
}

TEST(SettingsKeyRecorderBeforeTheWindow, AKeyWithoutAWindowCountsAsInTheSettingsWindow) {
    const auto layout = brisel::testing::FakeKeyboardLayout::us();
    SettingsWindow neverShown(layout);
    SettingsKeyRecorder recorder(neverShown);
    std::vector<bool> inSettingsWindow;
    recorder.install([&](const BriselKeyEvent&, bool in) {
        inSettingsWindow.push_back(in);
        return true;
    });
    putKey(nullptr, GDK_KEY_PRESS, 40);
    EXPECT_EQ(inSettingsWindow, std::vector<bool>{true});
}

}  // namespace
}  // namespace brisel::gtk
