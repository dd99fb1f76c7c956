// The whole Linux shell in this process, driven through the console's buttons and the native windows.
#include "gtk/shell_fixture.h"

#include <X11/keysym.h>

#include <fstream>
#include <memory>
#include <sstream>

#include "app/panel_geometry.h"
#include "capture/capture_texts.h"
#include "export/markdown_export.h"
#include "gtk/widgets.h"
#include "reading/reading_controls_presentation.h"
#include "screens.h"

namespace brisel::gtk {
namespace {

using testing::json;
using testing::ShellEndToEnd;
using testing::typeOnKeyboard;

// The file chooser on screen, if any.
GtkWidget* chooserShown() {
    GtkWidget* chooser = nullptr;
    GList* toplevels = gtk_window_list_toplevels();
    for (GList* window = toplevels; window; window = window->next) {
        if (GTK_IS_FILE_CHOOSER_DIALOG(window->data) && gtk_widget_get_visible(GTK_WIDGET(window->data))) chooser = GTK_WIDGET(window->data);
    }
    g_list_free(toplevels);
    return chooser;
}

TEST_F(ShellEndToEnd, ThePageRunsInTheLinuxShellAndTheWholeWindowStandsOnCoresFrame) {
    EXPECT_EQ(page("window.briselNativePlatform"), "linux");
    // Header bar included, the window the expanded map asks for.
    PanelWindow& panel = shell.panel();
    const Rect expanded = expandedMapFrame(panel.panelScreen()->visibleFrame,
                                           panelFrame(panel.screens(), panel.mainScreen(), panel.mouseLocation()));
    click("action-expandMap");
    GdkRectangle outer{};
    ASSERT_TRUE(main_loop::runUntil([&] {
        gdk_window_get_frame_extents(gtk_widget_get_window(GTK_WIDGET(panel.window())), &outer);
        return toCore(outer) == expanded && panel.frame() == expanded;
    })) << outer.width << " wide";
}

TEST_F(ShellEndToEnd, TheReadingStripAndTheExportThroughTheFileChooserSpeakWithThePage) {
    click("rc-send");
    GtkWidget* save = widgets::named(shell.panel().window(), reading_controls_ids::save);
    ASSERT_NE(save, nullptr);
    ASSERT_TRUE(main_loop::runUntil([&] { return gtk_widget_is_drawable(save) && gtk_widget_is_sensitive(save); }));
    gtk_button_clicked(GTK_BUTTON(save));
    ASSERT_TRUE(main_loop::runUntil([&] { return !received("omvane:native", "saveAndReturnRequested").empty(); }, 10000));
    EXPECT_EQ(received("omvane:native", "saveAndReturnRequested").back()["controlId"], "console-note-1");

    // The sheet, asked for by the page and cancelled by it.
    click("export-send");
    ASSERT_TRUE(main_loop::runUntil([&] { return chooserShown(); }));
    click("export-cancel");
    ASSERT_TRUE(main_loop::runUntil([&] { return !received("brisel:export-result").empty(); }, 10000));
    EXPECT_EQ(received("brisel:export-result").back()["status"], "canceled");
    EXPECT_FALSE(chooserShown());

    click("export-send");
    GtkWidget* dialog = nullptr;
    ASSERT_TRUE(main_loop::runUntil([&] { return (dialog = chooserShown()); }));
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(dialog)), shell.panel().window());
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog)));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(dialog)), export_texts::sheetTitle);
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog);
    EXPECT_TRUE(gtk_file_chooser_get_do_overwrite_confirmation(chooser));
    for (const auto& [file, passes] : {std::pair{"notes.zip", true}, {"notes.md", false}}) {
        const GtkFileFilterInfo info{GTK_FILE_FILTER_DISPLAY_NAME, nullptr, nullptr, file, nullptr};
        EXPECT_EQ(gtk_file_filter_filter(gtk_file_chooser_get_filter(chooser), &info), passes) << file;
    }
    // The user opens a folder (the chooser loads it in the background) and presses "書き出す".
    const std::filesystem::path chosen = home / std::unique_ptr<gchar, decltype(&g_free)>(gtk_file_chooser_get_current_name(chooser), g_free).get();
    gtk_file_chooser_set_current_folder(chooser, home.path().c_str());
    ASSERT_TRUE(main_loop::runUntil([&] {
        std::unique_ptr<gchar, decltype(&g_free)> filename(gtk_file_chooser_get_filename(chooser), g_free);
        return filename && chosen == filename.get();
    }));
    gtk_dialog_response(GTK_DIALOG(dialog), GTK_RESPONSE_ACCEPT);
    ASSERT_TRUE(main_loop::runUntil([&] { return received("brisel:export-result").size() >= 2; }, 10000));
    EXPECT_EQ(received("brisel:export-result").back()["status"], "saved");
    std::stringstream archive;
    archive << std::ifstream(chosen, std::ios::binary).rdbuf();
    EXPECT_EQ(archive.str().size(), page("Number(document.getElementById('export-archive-bytes').textContent)"));
    EXPECT_TRUE(archive.str().starts_with("PK\x03\x04"));
}

TEST_F(ShellEndToEnd, ACaptureKeyRecordedInTheSettingsWindowIsSavedAndGrabbedOnTheXKeyboard) {
    click("action-openSettings");
    GtkWindow* settings = nullptr;
    ASSERT_TRUE(main_loop::runUntil([&] { return (settings = shell.settingsWindow().window()) && gtk_window_is_active(settings); }));
    shell.companion().shortcuts().begin(BriselShortcutAction::capture);  // as its key display, clicked, does

    // ⌘⇧C, which the Linux keyboard types as Ctrl+Shift+C, typed into the settings window.
    typeOnKeyboard({XK_Control_L, XK_Shift_L}, 8);
    ASSERT_TRUE(main_loop::runUntil([&] { return !shell.companion().shortcuts().recording(); }));
    const json persisted = json::parse(std::ifstream(home / "config" / (std::string(BriselShortcutSettings::storageKey) + ".json")), nullptr, false);
    EXPECT_EQ(persisted["capture"]["keyCode"], 8) << persisted;
    ASSERT_TRUE(main_loop::runUntil([&] { return received("omvane:native", "status").back()["shortcut"] == "⇧⌘C"; }));

    // The old combination no longer captures, the new one does (a capture by the old would come first).
    typeOnKeyboard({XK_Control_L, XK_Alt_L}, 40);
    typeOnKeyboard({XK_Control_L, XK_Shift_L}, 8);
    ASSERT_TRUE(main_loop::runUntil([&] { return !statusErrors().empty(); }, 10000));
    EXPECT_EQ(statusErrors(), std::vector<std::string>{capture_texts::selectInKindle});
}

}  // namespace
}  // namespace brisel::gtk
