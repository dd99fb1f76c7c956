#pragma once

#include <gtk/gtk.h>

#include "reading/reading_controls_model.h"

namespace brisel::gtk {

// The save / return strip under the web view. It draws what core's presentation says and hands
// button presses (and their keyboard shortcuts) back to the model, which decides.
class BriselReadingControlsView {
public:
    static constexpr int maximumWidth = 640;
    // The save button's tint, a dark green.
    static constexpr double accentRed = 0.18, accentGreen = 0.32, accentBlue = 0.26;

    BriselReadingControlsView(BriselReadingControlsModel& model, GtkAccelGroup* accelerators);
    ~BriselReadingControlsView();
    BriselReadingControlsView(const BriselReadingControlsView&) = delete;
    BriselReadingControlsView& operator=(const BriselReadingControlsView&) = delete;

    // The whole strip, as wide as the panel, on the window background.
    GtkWidget* widget() const { return root_; }
    void refresh();

private:
    struct Row {
        GtkWidget* button;
        GtkWidget* icon;
        GtkWidget* spinner;
        GtkWidget* title;
        GtkWidget* hint;
    };

    static Row makeRow(const char* name, bool withIcon);
    void bindShortcut(GtkWidget* button, const BriselReadingControlsModel::ShortcutHint& hint,
                      BriselReadingControlsModel::ShortcutHint& bound);

    BriselReadingControlsModel& model_;
    GtkAccelGroup* accelerators_;
    GtkWidget* root_;
    GtkWidget* stack_;
    Row save_;
    Row close_;
    GtkWidget* status_;
    BriselReadingControlsModel::ShortcutHint boundSave_;
    BriselReadingControlsModel::ShortcutHint boundReturn_;
};

}  // namespace brisel::gtk
