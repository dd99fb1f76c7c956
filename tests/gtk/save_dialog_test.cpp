// The save sheet's options as the file chooser shows them, and its endings. Choosing a file and
// saving it are proven end to end through the shell.
#include "save_dialog.h"

#include <gtest/gtest.h>

#include <vector>

#include "gtk/main_loop.h"

namespace brisel::gtk {
namespace {

using Answers = std::vector<std::optional<std::filesystem::path>>;

TEST(SaveDialog, AsksForAZipAsToldAndEndsOnceWhenCancelledOrReplaced) {
    g_setenv("GSETTINGS_BACKEND", "memory", TRUE);  // the chooser's folders stay off the user's settings
    GtkWindow* panel = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    SaveDialog dialog{[&] { return panel; }};
    SaveSheetOptions options;
    options.allowedContentTypes = {SaveContentType::zipArchive};
    options.suggestedFileName = "Brisel-20250101T093000Z.zip";
    options.canCreateDirectories = false;
    options.title = "the title";
    options.prompt = "the prompt";
    Answers answers;
    const auto answer = [&](std::optional<std::filesystem::path> chosen) { answers.push_back(std::move(chosen)); };
    const auto shown = [] {
        GList* toplevels = gtk_window_list_toplevels();
        std::vector<GtkWidget*> sheets;
        for (GList* each = toplevels; each; each = each->next) {
            if (GTK_IS_FILE_CHOOSER_DIALOG(each->data) && gtk_widget_get_visible(GTK_WIDGET(each->data))) sheets.push_back(GTK_WIDGET(each->data));
        }
        g_list_free(toplevels);
        return sheets;
    };

    dialog.beginSheet(options, answer);
    ASSERT_EQ(shown().size(), 1u);
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(shown()[0]);
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(chooser)), "the title");
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(gtk_dialog_get_widget_for_response(GTK_DIALOG(chooser), GTK_RESPONSE_ACCEPT))), "the prompt");
    gchar* name = gtk_file_chooser_get_current_name(chooser);
    EXPECT_STREQ(name, "Brisel-20250101T093000Z.zip");
    g_free(name);
    EXPECT_FALSE(gtk_file_chooser_get_create_folders(chooser));
    EXPECT_TRUE(gtk_file_chooser_get_do_overwrite_confirmation(chooser));
    GtkFileFilter* zip = gtk_file_chooser_get_filter(chooser);
    ASSERT_TRUE(zip);
    EXPECT_STREQ(gtk_file_filter_get_name(zip), "ZIP");
    for (const auto& [file, passes] : {std::pair{"notes.zip", true}, {"notes.md", false}}) {
        const GtkFileFilterInfo info{GTK_FILE_FILTER_DISPLAY_NAME, nullptr, nullptr, file, nullptr};
        EXPECT_EQ(gtk_file_filter_filter(zip, &info), passes) << file;
    }

    dialog.beginSheet(options, answer);
    EXPECT_EQ(answers, Answers{std::nullopt}) << "a new sheet ends the one on screen";
    EXPECT_EQ(shown().size(), 1u);
    dialog.cancelSheet();
    dialog.cancelSheet();
    main_loop::runPending();
    EXPECT_EQ(answers, (Answers{std::nullopt, std::nullopt})) << "cancelled once, with no file";
    EXPECT_TRUE(shown().empty());
    gtk_widget_destroy(GTK_WIDGET(panel));
}

}  // namespace
}  // namespace brisel::gtk
