#include "shortcut_settings_view.h"

#include <string>

#include "shortcuts/shortcut_settings_form.h"
#include "widget_style.h"

namespace brisel::gtk {

namespace {

constexpr int padding = 20, captionHeight = 28;

GtkWidget* leadingLabel(bool wraps) {
    GtkWidget* label = gtk_label_new(nullptr);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    if (wraps) {
        gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
        gtk_label_set_line_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
        // Without a cap a wrapping label asks for its whole text on one line and widens the
        // fixed-size window; the allocation still gives it the full width.
        gtk_label_set_max_width_chars(GTK_LABEL(label), 40);
    }
    return label;
}

}  // namespace

BriselShortcutSettingsView::BriselShortcutSettingsView(const KeyboardLayoutPort& layout) : layout_(layout) {
    // The window is exactly 640 × 430: the content's minimum plus its padding on every side.
    root_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 16);
    g_object_ref_sink(root_);
    gtk_widget_set_size_request(root_, width - 2 * padding, height - 2 * padding);
    gtk_widget_set_margin_start(root_, padding);
    gtk_widget_set_margin_end(root_, padding);
    gtk_widget_set_margin_top(root_, padding);
    gtk_widget_set_margin_bottom(root_, padding);

    GtkWidget* section = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    sectionTitle_ = leadingLabel(false);
    gtk_box_pack_start(GTK_BOX(section), sectionTitle_, FALSE, FALSE, 0);
    GtkWidget* list = gtk_list_box_new();
    gtk_list_box_set_selection_mode(GTK_LIST_BOX(list), GTK_SELECTION_NONE);
    for (Row& row : rows_) {
        GtkWidget* line = buildRow(row);
        gtk_list_box_insert(GTK_LIST_BOX(list), line, -1);
        // Only the key button reacts; the row around it is a plain line of the form.
        gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(gtk_widget_get_parent(line)), FALSE);
    }
    GtkWidget* frame = gtk_frame_new(nullptr);
    gtk_container_add(GTK_CONTAINER(frame), list);
    gtk_box_pack_start(GTK_BOX(section), frame, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(root_), section, FALSE, FALSE, 0);

    explanation_ = leadingLabel(true);
    addClass(explanation_, "dim-label");
    gtk_box_pack_start(GTK_BOX(root_), explanation_, FALSE, FALSE, 0);

    message_ = leadingLabel(true);
    gtk_widget_set_name(message_, ShortcutSettingsForm::messageAccessibilityIdentifier);
    atk_object_set_accessible_id(gtk_widget_get_accessible(message_),
                                 ShortcutSettingsForm::messageAccessibilityIdentifier);
    gtk_box_pack_start(GTK_BOX(root_), message_, FALSE, FALSE, 0);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    cancel_ = gtk_button_new();
    restore_ = gtk_button_new();
    g_signal_connect_swapped(cancel_, "clicked",
                             G_CALLBACK(+[](BriselShortcutSettingsView* self) { self->cancelRecording(); }), this);
    g_signal_connect_swapped(restore_, "clicked", G_CALLBACK(+[](BriselShortcutSettingsView* self) {
                                 if (auto* settings = self->liveSettings()) settings->restore();
                             }),
                             this);
    gtk_box_pack_start(GTK_BOX(buttons), cancel_, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(buttons), restore_, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(root_), buttons, FALSE, FALSE, 0);
    gtk_widget_show_all(root_);
}

BriselShortcutSettingsView::~BriselShortcutSettingsView() {
    if (!observing_.expired()) settings_->removeObserver(observer_);
    g_object_unref(root_);
}

void BriselShortcutSettingsView::observe(BriselShortcutSettings& settings) {
    if (settings_ != &settings || observing_.expired()) {
        if (!observing_.expired()) settings_->removeObserver(observer_);
        auto token = std::make_shared<bool>(true);
        observing_ = token;
        observer_ = settings.addObserver([this, token] { refresh(); });
        settings_ = &settings;
    }
    refresh();
}

BriselShortcutSettings* BriselShortcutSettingsView::liveSettings() const {
    return observing_.expired() ? nullptr : settings_;
}

void BriselShortcutSettingsView::cancelRecording() {
    if (auto* settings = liveSettings()) settings->cancel();
}

GtkWidget* BriselShortcutSettingsView::buildRow(Row& row) {
    row.owner = this;
    GtkWidget* line = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_set_margin_start(line, 12);
    gtk_widget_set_margin_end(line, 12);
    gtk_widget_set_margin_top(line, 8);
    gtk_widget_set_margin_bottom(line, 8);

    GtkWidget* labels = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_valign(labels, GTK_ALIGN_CENTER);
    row.title = leadingLabel(false);
    row.help = leadingLabel(false);
    addClass(row.help, "dim-label");
    gtk_box_pack_start(GTK_BOX(labels), row.title, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(labels), row.help, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(line), labels, TRUE, TRUE, 0);

    row.key = gtk_button_new();
    gtk_widget_set_size_request(row.key, keyDisplayWidth, -1);
    gtk_widget_set_valign(row.key, GTK_ALIGN_CENTER);
    row.caption = gtk_label_new(nullptr);
    gtk_widget_set_size_request(row.caption, -1, captionHeight);
    // The caption fills the button and never widens it: a long one is cut short instead.
    gtk_label_set_ellipsize(GTK_LABEL(row.caption), PANGO_ELLIPSIZE_END);
    gtk_label_set_max_width_chars(GTK_LABEL(row.caption), 1);
    gtk_container_add(GTK_CONTAINER(row.key), row.caption);
    g_signal_connect_swapped(row.key, "clicked", G_CALLBACK(+[](Row* clicked) {
                                 if (auto* settings = clicked->owner->liveSettings()) settings->begin(clicked->action);
                             }),
                             &row);
    gtk_box_pack_end(GTK_BOX(line), row.key, FALSE, FALSE, 0);
    return line;
}

void BriselShortcutSettingsView::refresh() {
    const ShortcutSettingsForm form = shortcutSettingsForm(*settings_, layout_);
    setLabelMarkup(sectionTitle_, "<b>%s</b>", form.sectionTitle);
    for (size_t i = 0; i < rows_.size(); ++i) {
        Row& row = rows_[i];
        const ShortcutSettingsRow& shown = form.rows[i];
        row.action = shown.action;
        gtk_label_set_text(GTK_LABEL(row.title), shown.title.c_str());
        setLabelMarkup(row.help, "<small>%s</small>", shown.help);
        setLabelMarkup(row.caption, "<tt>%s</tt>", shown.caption);
        gtk_widget_set_tooltip_text(row.key, shown.tooltip.c_str());
        AtkObject* accessible = gtk_widget_get_accessible(row.key);
        atk_object_set_name(accessible, shown.accessibilityLabel.c_str());
        atk_object_set_description(accessible, shown.accessibilityValue.c_str());
    }
    setLabelMarkup(explanation_, "<small>%s</small>", form.explanation);
    gtk_label_set_text(GTK_LABEL(message_), form.message.c_str());
    gtk_button_set_label(GTK_BUTTON(cancel_), form.cancelTitle.c_str());
    gtk_widget_set_visible(cancel_, form.showsCancel);
    gtk_button_set_label(GTK_BUTTON(restore_), form.restoreTitle.c_str());
}

}  // namespace brisel::gtk
