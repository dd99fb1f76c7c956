#pragma once

#include <gtk/gtk.h>

#include <functional>

#include "export/save_panel_port.h"

namespace brisel::gtk {

// The export's save sheet: a modal file chooser over the reader panel, answered asynchronously.
class SaveDialog final : public SavePanelPort {
public:
    // `presenter` gives the reader panel's window, or null while there is none.
    explicit SaveDialog(std::function<GtkWindow*()> presenter);
    ~SaveDialog() override;
    SaveDialog(const SaveDialog&) = delete;
    SaveDialog& operator=(const SaveDialog&) = delete;

    bool hasPresenter() const override;
    void beginSheet(const SaveSheetOptions& options, SaveSheetCompletion completion) override;
    void cancelSheet() override;

private:
    static void onResponse(GtkDialog* dialog, gint response, gpointer data);

    std::function<GtkWindow*()> presenter_;
    GtkWidget* dialog_ = nullptr;
    SaveSheetCompletion completion_;
};

}  // namespace brisel::gtk
