// The whole Linux shell in this process: the real panel, WebKitGTK showing the bridge console,
// the page server that the companion launches from the bundle, X11 hot keys and the settings
// window. The tests press the console's buttons by id, answer the native windows as a user
// would, and read back what the page received.
#include "gtk/shell_fixture.h"

#include <X11/keysym.h>

#include <fstream>
#include <sstream>

#include "app/panel_geometry.h"
#include "capture/capture_texts.h"
#include "gtk/other_x_client.h"
#include "gtk/widgets.h"
#include "reading/reading_controls_presentation.h"
#include "screens.h"
#include "shortcuts/shortcut_settings_form.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel::gtk {
namespace {

using testing::json;
using testing::ShellEndToEnd;
using testing::typeOnKeyboard;

GtkWidget* visibleToplevel(GType type) {
    GList* toplevels = gtk_window_list_toplevels();
    GtkWidget* found = nullptr;
    for (GList* window = toplevels; window && !found; window = window->next) {
        if (G_TYPE_CHECK_INSTANCE_TYPE(window->data, type) && gtk_widget_get_visible(GTK_WIDGET(window->data))) {
            found = GTK_WIDGET(window->data);
        }
    }
    g_list_free(toplevels);
    return found;
}

// Whether X stacks `upper` above `lower` (no window manager reparents them under Xvfb).
bool stackedAbove(GtkWindow* upper, GtkWindow* lower) {
    Display* display = GDK_DISPLAY_XDISPLAY(gdk_display_get_default());
    Window root = 0, parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    const Window upperID = GDK_WINDOW_XID(gtk_widget_get_window(GTK_WIDGET(upper)));
    const Window lowerID = GDK_WINDOW_XID(gtk_widget_get_window(GTK_WIDGET(lower)));
    int upperIndex = -1, lowerIndex = -1;
    for (unsigned i = 0; i < count; ++i) {  // bottom first
        if (children[i] == upperID) upperIndex = static_cast<int>(i);
        if (children[i] == lowerID) lowerIndex = static_cast<int>(i);
    }
    if (children) XFree(children);
    return lowerIndex >= 0 && upperIndex > lowerIndex;
}

// The whole window as the desktop shows it, header bar and frame included.
Rect wholeWindow(GtkWindow* window) {
    GdkRectangle outer{};
    gdk_window_get_frame_extents(gtk_widget_get_window(GTK_WIDGET(window)), &outer);
    return toCore(outer);
}

std::string describe(const Rect& r) {
    std::ostringstream text;
    text << r.x << "," << r.y << " " << r.width << "×" << r.height;
    return text.str();
}

TEST_F(ShellEndToEnd, PageRequestsReachTheShellAndTheAnswersReachThePage) {
    const json status = nativeEvents("status").back();
    EXPECT_EQ(status["shortcut"], "⌥⌘K");
    EXPECT_EQ(status["shortcuts"]["capture"]["code"], "KeyK");
    EXPECT_TRUE(status["accessibility"].is_boolean());
    EXPECT_EQ(page("window.briselNativePlatform"), "linux");

    // Kindle does not run here: the capture ends in its own refusal.
    click("action-capture");
    ASSERT_TRUE(waitFor([&] { return statusErrors().size(); }, 1));
    EXPECT_EQ(statusErrors().back(), capture_texts::selectInKindle);

    // Neither sign-in exists in this build.
    click("auth-google");
    ASSERT_TRUE(waitFor([&] { return received("brisel:auth-result").size(); }, 1));
    EXPECT_EQ(received("brisel:auth-result").back()["error"], "unconfigured");

    const Rect compact = shell.panel().frame();
    click("action-expandMap");
    ASSERT_TRUE(main_loop::runUntil([&] { return shell.panel().frame().width > compact.width; }));
    click("action-compactMap");
    ASSERT_TRUE(main_loop::runUntil([&] { return shell.panel().frame() == compact; }));

    click("error-throw");
    ASSERT_TRUE(main_loop::runUntil([&] {
        std::ifstream log(home / "state/startup.log");
        std::stringstream text;
        text << log.rdbuf();
        return text.str().find(R"("errorType":"TypeError","event":"script-error")") != std::string::npos;
    }));
}

TEST_F(ShellEndToEnd, TheWholeWindowWithItsHeaderBarStandsOnTheFramesCoreGivesIt) {
    PanelWindow& panel = shell.panel();
    GtkWindow* window = panel.window();
    const Rect compact = panelFrame(panel.screens(), panel.mainScreen(), panel.mouseLocation());
    ASSERT_TRUE(main_loop::runUntil([&] { return wholeWindow(window) == compact; })) << describe(wholeWindow(window));
    EXPECT_EQ(panel.frame(), compact);

    click("action-expandMap");
    const Rect area = panel.panelScreen()->visibleFrame;
    const Rect expanded = expandedMapFrame(area, compact);
    ASSERT_TRUE(main_loop::runUntil([&] { return wholeWindow(window) == expanded; })) << describe(wholeWindow(window));

    click("action-compactMap");
    ASSERT_TRUE(main_loop::runUntil([&] { return wholeWindow(window) == compact; })) << describe(wholeWindow(window));
}

TEST_F(ShellEndToEnd, TheReadingStripAndTheExportSpeakWithThePage) {
    click("rc-send");
    GtkWidget* panel = GTK_WIDGET(shell.panel().window());
    GtkWidget* save = widgets::find(panel, [](GtkWidget* widget) {
        return std::string(gtk_widget_get_name(widget)) == reading_controls_ids::save;
    });
    ASSERT_NE(save, nullptr);
    ASSERT_TRUE(main_loop::runUntil([&] { return gtk_widget_is_drawable(save) && gtk_widget_is_sensitive(save); }));
    gtk_button_clicked(GTK_BUTTON(save));
    ASSERT_TRUE(waitFor([&] { return nativeEvents("saveAndReturnRequested").size(); }, 1));
    EXPECT_EQ(nativeEvents("saveAndReturnRequested").back()["controlId"], "console-note-1");

    click("export-send");
    GtkWidget* dialog = nullptr;
    ASSERT_TRUE(main_loop::runUntil([&] { return (dialog = visibleToplevel(GTK_TYPE_FILE_CHOOSER_DIALOG)); }));
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(dialog)), shell.panel().window());
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog);
    gchar* suggested = gtk_file_chooser_get_current_name(chooser);
    const std::filesystem::path chosen = home / suggested;
    g_free(suggested);
    gtk_file_chooser_set_current_folder(chooser, home.path().c_str());
    ASSERT_TRUE(main_loop::runUntil([&] {
        gchar* filename = gtk_file_chooser_get_filename(chooser);
        const bool ready = filename && chosen == filename;
        g_free(filename);
        return ready;
    }));
    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_ACCEPT);
    ASSERT_TRUE(waitFor([&] { return received("brisel:export-result").size(); }, 1));
    EXPECT_EQ(received("brisel:export-result").back()["status"], "saved");
    std::ifstream archive(chosen, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(archive)), {});
    EXPECT_EQ(bytes.size(), page("Number(document.getElementById('export-archive-bytes').textContent)"));
    EXPECT_EQ(bytes.substr(0, 4), std::string("PK\x03\x04"));
}

TEST_F(ShellEndToEnd, SettingsComeInFrontWithTheFocusAndComingBackFromAnotherProgramRefreshesThePage) {
    GtkWindow* panel = shell.panel().window();
    ASSERT_TRUE(main_loop::runUntil([&] { return gtk_window_is_active(panel); }));
    const size_t statuses = statusCount();

    // "設定…" of the panel's menu, by its key.
    Display* display = GDK_DISPLAY_XDISPLAY(gdk_display_get_default());
    const KeyCode control = XKeysymToKeycode(display, XK_Control_L), comma = XKeysymToKeycode(display, XK_comma);
    for (auto [key, down] : {std::pair{control, True}, {comma, True}, {comma, False}, {control, False}}) {
        XTestFakeKeyEvent(display, key, down, 0);
    }
    XFlush(display);
    GtkWindow* settings = nullptr;
    ASSERT_TRUE(main_loop::runUntil([&] {
        settings = shell.settingsWindow().window();
        return settings && gtk_window_is_active(settings);
    }));
    main_loop::runPending();
    EXPECT_FALSE(gtk_window_is_active(panel));
    EXPECT_TRUE(stackedAbove(settings, panel));

    // Another program takes the focus, then the user comes back to the panel (the window
    // manager's part, played by that other X client): the page gets a fresh status, and only
    // then, since the move from the panel to the settings window was no activation.
    gtk::testing::OtherXClient other;
    const auto focus = [&](Window window) {
        XSetInputFocus(other.display(), window, RevertToParent, CurrentTime);
        XSync(other.display(), False);
    };
    const Window elsewhere = XCreateSimpleWindow(other.display(), other.root(), 0, 0, 100, 100, 0, 0, 0);
    XMapRaised(other.display(), elsewhere);
    focus(elsewhere);
    ASSERT_TRUE(main_loop::runUntil([&] { return !gtk_window_is_active(settings); }));
    main_loop::runPending();
    focus(GDK_WINDOW_XID(gtk_widget_get_window(GTK_WIDGET(panel))));
    ASSERT_TRUE(waitFor([&] { return statusCount(); }, statuses + 1));
    EXPECT_EQ(statusCount(), statuses + 1);
}

TEST_F(ShellEndToEnd, RecordingANewCaptureKeyPersistsItAndMovesTheGlobalGrab) {
    click("action-openSettings");
    GtkWindow* settings = nullptr;
    ASSERT_TRUE(main_loop::runUntil([&] {
        settings = shell.settingsWindow().window();
        return settings && gtk_widget_get_visible(GTK_WIDGET(settings));
    }));
    const std::string captureRow =
        shortcutSettingsForm(shell.companion().shortcuts(), XkbKeyboardLayout()).rows[0].accessibilityLabel;
    GtkWidget* keyButton = widgets::buttonNamed(settings, captureRow);
    ASSERT_NE(keyButton, nullptr);
    gtk_button_clicked(GTK_BUTTON(keyButton));
    ASSERT_TRUE(shell.companion().shortcuts().recording());

    // ⌘⇧C, which the Linux keyboard types as Ctrl+Shift+C, pressed in the settings window.
    GdkEvent* press = gdk_event_new(GDK_KEY_PRESS);
    press->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(GTK_WIDGET(settings))));
    press->key.hardware_keycode = *x11KeyCode(8);
    press->key.state = GDK_CONTROL_MASK | GDK_SHIFT_MASK;
    press->key.keyval = GDK_KEY_C;
    gdk_event_set_device(press, gdk_seat_get_keyboard(gdk_display_get_default_seat(gdk_display_get_default())));
    gdk_event_put(press);
    gdk_event_free(press);
    ASSERT_TRUE(main_loop::runUntil([&] { return !shell.companion().shortcuts().recording(); }));
    EXPECT_EQ(shell.companion().shortcuts().message(), shortcut_texts::saved);

    std::ifstream stored(home / "config" / (std::string(BriselShortcutSettings::storageKey) + ".json"));
    const json persisted = json::parse(stored, nullptr, false);
    EXPECT_EQ(persisted["capture"]["keyCode"], 8) << persisted;
    ASSERT_TRUE(main_loop::runUntil([&] { return nativeEvents("status").back()["shortcut"] == "⇧⌘C"; }));

    // The old combination no longer captures; the new one does, from anywhere on the desktop.
    // Presses arrive in order, so a capture by the old key would be reported before the new one's.
    typeOnKeyboard({XK_Control_L, XK_Alt_L}, 40);
    typeOnKeyboard({XK_Control_L, XK_Shift_L}, 8);
    ASSERT_TRUE(waitFor([&] { return statusErrors().size(); }, 1));
    EXPECT_EQ(statusErrors(), std::vector<std::string>{capture_texts::selectInKindle});
}

}  // namespace
}  // namespace brisel::gtk
