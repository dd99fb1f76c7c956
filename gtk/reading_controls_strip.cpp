#include "reading_controls_strip.h"

#include "reading/reading_controls_presentation.h"

namespace brisel::gtk {

namespace {

constexpr uint32_t carbonCommand = 0x0100, carbonShift = 0x0200, carbonOption = 0x0800, carbonControl = 0x1000;

void setLabelMarkup(GtkWidget* label, const char* format, const std::string& text) {
    gchar* markup = g_markup_printf_escaped(format, text.c_str());
    gtk_label_set_markup(GTK_LABEL(label), markup);
    g_free(markup);
}

void addClass(GtkWidget* widget, const char* name) {
    gtk_style_context_add_class(gtk_widget_get_style_context(widget), name);
}

}  // namespace

bool acceleratorOf(const BriselReadingControlsModel::ShortcutHint& hint, guint& key, GdkModifierType& modifiers) {
    if (hint.key.size() != 1) return false;
    const unsigned char character = static_cast<unsigned char>(hint.key[0]);
    key = character == '\r' ? GDK_KEY_Return : character == 0x1B ? GDK_KEY_Escape : gdk_unicode_to_keyval(character);
    int mask = 0;
    if (hint.modifiers & carbonCommand) mask |= GDK_CONTROL_MASK;  // ⌘ is Control on Linux
    if (hint.modifiers & carbonControl) mask |= GDK_CONTROL_MASK;
    if (hint.modifiers & carbonOption) mask |= GDK_MOD1_MASK;
    if (hint.modifiers & carbonShift) mask |= GDK_SHIFT_MASK;
    modifiers = static_cast<GdkModifierType>(mask);
    return key != GDK_KEY_VoidSymbol && key != 0;
}

ReadingControlsStrip::ReadingControlsStrip(BriselReadingControlsModel& model, GtkAccelGroup* accelerators)
    : model_(model),
      accelerators_(accelerators),
      root_(gtk_box_new(GTK_ORIENTATION_VERTICAL, 8)),
      save_(makeRow(reading_controls_ids::save, true)),
      close_(makeRow(reading_controls_ids::close, false)),
      status_(gtk_label_new(nullptr)) {
    g_object_ref_sink(root_);
    gtk_widget_set_name(root_, "reading-controls");
    gtk_widget_set_margin_start(root_, 16);
    gtk_widget_set_margin_end(root_, 16);
    gtk_widget_set_margin_top(root_, 12);
    gtk_widget_set_margin_bottom(root_, 12);
    addClass(save_.button, "suggested-action");

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_box_pack_start(GTK_BOX(buttons), save_.button, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(buttons), close_.button, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(root_), buttons, FALSE, FALSE, 0);

    gtk_widget_set_name(status_, reading_controls_ids::status);
    gtk_label_set_line_wrap(GTK_LABEL(status_), TRUE);
    gtk_label_set_justify(GTK_LABEL(status_), GTK_JUSTIFY_CENTER);
    addClass(status_, "dim-label");
    gtk_box_pack_start(GTK_BOX(root_), status_, FALSE, FALSE, 0);

    g_signal_connect_swapped(save_.button, "clicked", G_CALLBACK(+[](ReadingControlsStrip* self) {
                                 self->model_.perform(BriselReadingControlsModel::saveAndReturnRequested,
                                                      self->model_.controlId);
                             }),
                             this);
    g_signal_connect_swapped(close_.button, "clicked", G_CALLBACK(+[](ReadingControlsStrip* self) {
                                 self->model_.perform(BriselReadingControlsModel::returnRequested,
                                                      self->model_.controlId);
                             }),
                             this);
    gtk_widget_show_all(root_);
    refresh();
}

ReadingControlsStrip::~ReadingControlsStrip() {
    g_object_unref(root_);
}

ReadingControlsStrip::Row ReadingControlsStrip::makeRow(const char* name, bool withIcon) {
    Row row{};
    row.button = gtk_button_new();
    gtk_widget_set_name(row.button, name);
    gtk_widget_set_size_request(row.button, -1, 44);
    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_set_halign(content, GTK_ALIGN_CENTER);
    gtk_widget_set_margin_start(content, 4);
    gtk_widget_set_margin_end(content, 4);
    if (withIcon) {
        row.icon = gtk_image_new_from_icon_name("bookmark-new-symbolic", GTK_ICON_SIZE_BUTTON);
        row.spinner = gtk_spinner_new();
        gtk_box_pack_start(GTK_BOX(content), row.icon, FALSE, FALSE, 0);
        gtk_box_pack_start(GTK_BOX(content), row.spinner, FALSE, FALSE, 0);
    }
    row.title = gtk_label_new(nullptr);
    row.hint = gtk_label_new(nullptr);
    addClass(row.hint, "dim-label");
    gtk_box_pack_start(GTK_BOX(content), row.title, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(content), row.hint, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(row.button), content);
    return row;
}

void ReadingControlsStrip::bindShortcut(GtkWidget* button, const BriselReadingControlsModel::ShortcutHint& hint,
                                        BriselReadingControlsModel::ShortcutHint& bound) {
    if (hint == bound) return;
    guint key = 0;
    GdkModifierType modifiers{};
    if (acceleratorOf(bound, key, modifiers)) gtk_widget_remove_accelerator(button, accelerators_, key, modifiers);
    // Accelerators fire only while the button is visible and sensitive, so a hidden strip or a
    // disabled save button lets the key reach the page.
    if (acceleratorOf(hint, key, modifiers)) {
        gtk_widget_add_accelerator(button, "clicked", accelerators_, key, modifiers, GTK_ACCEL_VISIBLE);
    }
    bound = hint;
}

void ReadingControlsStrip::refresh() {
    const ReadingControlsPresentation shown = presentReadingControls(model_);
    gtk_widget_set_visible(root_, shown.visible);

    gtk_widget_set_visible(save_.button, shown.showsSave);
    gtk_widget_set_sensitive(save_.button, shown.saveEnabled);
    gtk_widget_set_visible(save_.icon, !shown.saveBusy);
    gtk_widget_set_visible(save_.spinner, shown.saveBusy);
    if (shown.saveBusy) {
        gtk_spinner_start(GTK_SPINNER(save_.spinner));
    } else {
        gtk_spinner_stop(GTK_SPINNER(save_.spinner));
    }
    setLabelMarkup(save_.title, "<span weight=\"600\">%s</span>", shown.saveTitle);
    setLabelMarkup(save_.hint, "<small><tt>%s</tt></small>", model_.saveShortcut.label);
    setLabelMarkup(close_.title, "%s", shown.closeTitle);
    setLabelMarkup(close_.hint, "<small><tt>%s</tt></small>", model_.returnShortcut.label);
    setLabelMarkup(status_, "<small>%s</small>", shown.status);

    atk_object_set_name(gtk_widget_get_accessible(save_.button), shown.saveTitle.c_str());
    atk_object_set_name(gtk_widget_get_accessible(close_.button), shown.closeTitle.c_str());
    bindShortcut(save_.button, model_.saveShortcut, boundSave_);
    bindShortcut(close_.button, model_.returnShortcut, boundReturn_);
}

}  // namespace brisel::gtk
