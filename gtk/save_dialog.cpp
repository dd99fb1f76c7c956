#include "save_dialog.h"

#include <cstdlib>
#include <utility>

namespace brisel::gtk {

namespace {

// The file types core asks for, as GTK filters.
struct FileType {
    const char* name;
    const char* pattern;
};

FileType fileTypeOf(SaveContentType contentType) {
    switch (contentType) {
    case SaveContentType::zipArchive:
        return {"ZIP", "*.zip"};
    }
    std::abort();  // not a SaveContentType
}

void addFilters(GtkFileChooser* chooser, const std::vector<SaveContentType>& contentTypes) {
    for (const SaveContentType contentType : contentTypes) {
        const FileType type = fileTypeOf(contentType);
        GtkFileFilter* filter = gtk_file_filter_new();
        gtk_file_filter_set_name(filter, type.name);
        gtk_file_filter_add_pattern(filter, type.pattern);
        gtk_file_chooser_add_filter(chooser, filter);
    }
}

}  // namespace

SaveDialog::SaveDialog(std::function<GtkWindow*()> presenter) : presenter_(std::move(presenter)) {}

SaveDialog::~SaveDialog() {
    if (!dialog_) return;
    g_signal_handlers_disconnect_by_data(dialog_, this);
    gtk_widget_destroy(dialog_);
}

bool SaveDialog::hasPresenter() const { return presenter_() != nullptr; }

void SaveDialog::beginSheet(const SaveSheetOptions& options, SaveSheetCompletion completion) {
    // One sheet at a time, as on a window on macOS.
    cancelSheet();
    // The cancel button in the desktop's language, as the system's own save panel has it.
    dialog_ = gtk_file_chooser_dialog_new(options.title.c_str(), presenter_(), GTK_FILE_CHOOSER_ACTION_SAVE,
                                          g_dgettext("gtk30", "_Cancel"), GTK_RESPONSE_CANCEL,
                                          options.prompt.c_str(), GTK_RESPONSE_ACCEPT, nullptr);
    completion_ = std::move(completion);
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog_);
    addFilters(chooser, options.allowedContentTypes);
    gtk_file_chooser_set_current_name(chooser, options.suggestedFileName.c_str());
    gtk_file_chooser_set_create_folders(chooser, options.canCreateDirectories);
    gtk_file_chooser_set_do_overwrite_confirmation(chooser, TRUE);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog_), GTK_RESPONSE_ACCEPT);
    gtk_window_set_modal(GTK_WINDOW(dialog_), TRUE);
    g_signal_connect(dialog_, "response", G_CALLBACK(onResponse), this);
    gtk_widget_show(dialog_);
}

void SaveDialog::cancelSheet() {
    if (dialog_) gtk_dialog_response(GTK_DIALOG(dialog_), GTK_RESPONSE_CANCEL);
}

void SaveDialog::onResponse(GtkDialog* dialog, gint response, gpointer data) {
    auto* self = static_cast<SaveDialog*>(data);
    std::optional<std::filesystem::path> chosen;
    if (response == GTK_RESPONSE_ACCEPT) {
        if (gchar* filename = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(dialog))) {
            chosen = filename;
            g_free(filename);
        }
    }
    // Cleared before the completion runs, so it may begin the next sheet at once.
    SaveSheetCompletion completion = std::exchange(self->completion_, nullptr);
    self->dialog_ = nullptr;
    gtk_widget_destroy(GTK_WIDGET(dialog));
    completion(std::move(chosen));
}

}  // namespace brisel::gtk
