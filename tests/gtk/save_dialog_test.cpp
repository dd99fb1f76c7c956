#include "save_dialog.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "fakes/temp_dir.h"
#include "gtk/main_loop.h"

namespace brisel::gtk {
namespace {

class SaveDialogTest : public ::testing::Test {
protected:
    // The file chooser remembers its folders in GSettings; the tests keep them off the user's.
    static void SetUpTestSuite() { g_setenv("GSETTINGS_BACKEND", "memory", TRUE); }
    ~SaveDialogTest() override { gtk_widget_destroy(GTK_WIDGET(panel)); }

    SaveSheetOptions zipSheet() const {
        SaveSheetOptions options;
        options.allowedContentTypes = {SaveContentType::zipArchive};
        options.suggestedFileName = "Brisel-20250101T093000Z.zip";
        options.canCreateDirectories = false;
        options.title = "Markdownを書き出す";
        options.prompt = "書き出す";
        return options;
    }

    SaveSheetCompletion recordAnswer() {
        return [this](std::optional<std::filesystem::path> chosen) { answers.push_back(std::move(chosen)); };
    }

    // The choosers on screen over the panel.
    std::vector<GtkWidget*> sheets() const {
        GList* toplevels = gtk_window_list_toplevels();
        std::vector<GtkWidget*> found;
        for (GList* each = toplevels; each; each = each->next) {
            GtkWindow* window = GTK_WINDOW(each->data);
            if (GTK_IS_FILE_CHOOSER_DIALOG(window) && gtk_window_get_transient_for(window) == panel &&
                gtk_widget_get_visible(GTK_WIDGET(window))) {
                found.push_back(GTK_WIDGET(window));
            }
        }
        g_list_free(toplevels);
        return found;
    }
    GtkWidget* sheet() const {
        const auto shown = sheets();
        return shown.empty() ? nullptr : shown.front();
    }

    GtkWindow* panel = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    SaveDialog dialog{[this] { return panel; }};
    std::vector<std::optional<std::filesystem::path>> answers;
};

bool passes(GtkFileFilter* filter, const char* name) {
    const GtkFileFilterInfo file{GTK_FILE_FILTER_DISPLAY_NAME, nullptr, nullptr, name, nullptr};
    return gtk_file_filter_filter(filter, &file);
}

TEST_F(SaveDialogTest, HasAPresenterOnlyWhileThePanelExists) {
    EXPECT_TRUE(dialog.hasPresenter());
    EXPECT_FALSE(SaveDialog([] { return static_cast<GtkWindow*>(nullptr); }).hasPresenter());
}

TEST_F(SaveDialogTest, AsksOverThePanelForAZipAndReportsTheChosenFile) {
    brisel::testing::TempDir folder;
    dialog.beginSheet(zipSheet(), recordAnswer());
    GtkWidget* shown = sheet();
    ASSERT_NE(shown, nullptr);
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(shown);
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(shown)));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(shown)), "Markdownを書き出す");
    GtkWidget* accept = gtk_dialog_get_widget_for_response(GTK_DIALOG(shown), GTK_RESPONSE_ACCEPT);
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(accept)), "書き出す");
    gchar* name = gtk_file_chooser_get_current_name(chooser);
    EXPECT_STREQ(name, "Brisel-20250101T093000Z.zip");
    g_free(name);
    EXPECT_FALSE(gtk_file_chooser_get_create_folders(chooser));
    EXPECT_TRUE(gtk_file_chooser_get_do_overwrite_confirmation(chooser));
    GSList* filters = gtk_file_chooser_list_filters(chooser);
    ASSERT_EQ(g_slist_length(filters), 1u);
    GtkFileFilter* zip = GTK_FILE_FILTER(filters->data);
    g_slist_free(filters);
    EXPECT_STREQ(gtk_file_filter_get_name(zip), "ZIP");
    EXPECT_TRUE(passes(zip, "notes.zip"));
    EXPECT_FALSE(passes(zip, "notes.md"));
    EXPECT_TRUE(answers.empty());

    // The user opens a folder (the chooser loads it in the background) and presses "書き出す".
    const std::filesystem::path chosen = folder / "Brisel-20250101T093000Z.zip";
    gtk_file_chooser_set_current_folder(chooser, folder.path().c_str());
    ASSERT_TRUE(main_loop::runUntil([&] {
        gchar* filename = gtk_file_chooser_get_filename(chooser);
        const bool loaded = filename && chosen == filename;
        g_free(filename);
        return loaded;
    }));
    gtk_dialog_response(GTK_DIALOG(shown), GTK_RESPONSE_ACCEPT);
    ASSERT_TRUE(main_loop::runUntil([&] { return !answers.empty(); }));
    EXPECT_EQ(answers, (std::vector<std::optional<std::filesystem::path>>{chosen}));
    EXPECT_EQ(sheet(), nullptr);
}

TEST_F(SaveDialogTest, CancellingEndsTheSheetWithNoFileExactlyOnce) {
    dialog.beginSheet(zipSheet(), recordAnswer());
    ASSERT_NE(sheet(), nullptr);
    dialog.cancelSheet();
    EXPECT_EQ(answers, (std::vector<std::optional<std::filesystem::path>>{std::nullopt}));
    dialog.cancelSheet();
    main_loop::runPending();
    EXPECT_EQ(answers.size(), 1u);
    EXPECT_EQ(sheet(), nullptr);
}

TEST_F(SaveDialogTest, ANewSheetEndsTheOneOnScreen) {
    dialog.beginSheet(zipSheet(), recordAnswer());
    dialog.beginSheet(zipSheet(), recordAnswer());
    EXPECT_EQ(answers, (std::vector<std::optional<std::filesystem::path>>{std::nullopt}));
    EXPECT_EQ(sheets().size(), 1u);
    dialog.cancelSheet();
    EXPECT_EQ(answers.size(), 2u);
}

}  // namespace
}  // namespace brisel::gtk
