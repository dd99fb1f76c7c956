#pragma once

#include <gtk/gtk.h>

#include "reading/reading_controls_model.h"

namespace brisel::gtk {

// The save / return strip under the web view. It draws what core's presentation says and hands
// button presses (and their keyboard shortcuts) back to the model, which decides.
class ReadingControlsStrip {
public:
    ReadingControlsStrip(BriselReadingControlsModel& model, GtkAccelGroup* accelerators);
    ~ReadingControlsStrip();
    ReadingControlsStrip(const ReadingControlsStrip&) = delete;
    ReadingControlsStrip& operator=(const ReadingControlsStrip&) = delete;

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
    Row save_;
    Row close_;
    GtkWidget* status_;
    BriselReadingControlsModel::ShortcutHint boundSave_;
    BriselReadingControlsModel::ShortcutHint boundReturn_;
};

// The GDK key and modifiers of a shortcut hint; the command key is Control here.
bool acceleratorOf(const BriselReadingControlsModel::ShortcutHint& hint, guint& key, GdkModifierType& modifiers);

}  // namespace brisel::gtk
