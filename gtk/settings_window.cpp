#include "settings_window.h"

#include <string>
#include <utility>

#include "app/texts.h"
#include "physical_key_codes.h"
#include "shortcuts/shortcut_settings_form.h"

namespace brisel::gtk {

namespace {

constexpr int windowWidth = 640, windowHeight = 430, padding = 20;
constexpr int keyButtonWidth = 184, captionHeight = 28;

void setLabelMarkup(GtkWidget* label, const char* format, const std::string& text) {
    gchar* markup = g_markup_printf_escaped(format, text.c_str());
    gtk_label_set_markup(GTK_LABEL(label), markup);
    g_free(markup);
}

void addClass(GtkWidget* widget, const char* name) {
    gtk_style_context_add_class(gtk_widget_get_style_context(widget), name);
}

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

SettingsWindow::SettingsWindow(const KeyboardLayoutPort& layout) : layout_(layout) {}

SettingsWindow::~SettingsWindow() {
    if (!observing_.expired()) settings_->removeObserver(observer_);
    if (window_) {
        g_signal_handlers_disconnect_by_data(window_, this);
        gtk_widget_destroy(GTK_WIDGET(window_));
    }
}

void SettingsWindow::show(BriselShortcutSettings& settings) {
    if (!window_) build();
    observe(settings);
    refresh();
    gtk_window_deiconify(window_);
    // Presenting a hidden window only maps it and leaves the focus to the window manager; a
    // shown one is raised and given the focus, as making it key does on macOS.
    gtk_widget_show(GTK_WIDGET(window_));
    gtk_window_present(window_);
}

void SettingsWindow::observe(BriselShortcutSettings& settings) {
    if (settings_ == &settings && !observing_.expired()) return;
    if (!observing_.expired()) settings_->removeObserver(observer_);
    auto token = std::make_shared<bool>(true);
    observing_ = token;
    observer_ = settings.addObserver([this, token] { refresh(); });
    settings_ = &settings;
}

BriselShortcutSettings* SettingsWindow::liveSettings() const {
    return observing_.expired() ? nullptr : settings_;
}

void SettingsWindow::endRecording() {
    if (auto* settings = liveSettings()) settings->cancel();
}

void SettingsWindow::build() {
    window_ = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    gtk_window_set_title(window_, texts::settingsWindowTitle);
    gtk_window_set_role(window_, "settings");
    gtk_window_set_resizable(window_, FALSE);
    gtk_window_set_keep_above(window_, TRUE);
    gtk_window_set_position(window_, GTK_WIN_POS_CENTER);
    g_signal_connect(window_, "delete-event", G_CALLBACK(+[](GtkWidget* window, GdkEvent*, gpointer data) -> gboolean {
                         static_cast<SettingsWindow*>(data)->endRecording();
                         return gtk_widget_hide_on_delete(window);
                     }),
                     this);
    g_signal_connect(window_, "notify::is-active", G_CALLBACK(+[](GtkWindow* window, GParamSpec*, gpointer data) {
                         if (!gtk_window_is_active(window)) static_cast<SettingsWindow*>(data)->endRecording();
                     }),
                     this);

    // The window is exactly 640 × 430: the content's minimum plus its padding on every side.
    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 16);
    gtk_widget_set_size_request(content, windowWidth - 2 * padding, windowHeight - 2 * padding);
    gtk_widget_set_margin_start(content, padding);
    gtk_widget_set_margin_end(content, padding);
    gtk_widget_set_margin_top(content, padding);
    gtk_widget_set_margin_bottom(content, padding);

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
    gtk_box_pack_start(GTK_BOX(content), section, FALSE, FALSE, 0);

    explanation_ = leadingLabel(true);
    addClass(explanation_, "dim-label");
    gtk_box_pack_start(GTK_BOX(content), explanation_, FALSE, FALSE, 0);

    message_ = leadingLabel(true);
    gtk_widget_set_name(message_, ShortcutSettingsForm::messageAccessibilityIdentifier);
    atk_object_set_accessible_id(gtk_widget_get_accessible(message_),
                                 ShortcutSettingsForm::messageAccessibilityIdentifier);
    gtk_box_pack_start(GTK_BOX(content), message_, FALSE, FALSE, 0);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    cancel_ = gtk_button_new();
    restore_ = gtk_button_new();
    g_signal_connect_swapped(cancel_, "clicked", G_CALLBACK(+[](SettingsWindow* self) { self->endRecording(); }),
                             this);
    g_signal_connect_swapped(restore_, "clicked", G_CALLBACK(+[](SettingsWindow* self) {
                                 if (auto* settings = self->liveSettings()) settings->restore();
                             }),
                             this);
    gtk_box_pack_start(GTK_BOX(buttons), cancel_, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(buttons), restore_, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(content), buttons, FALSE, FALSE, 0);

    gtk_container_add(GTK_CONTAINER(window_), content);
    gtk_widget_show_all(content);
}

GtkWidget* SettingsWindow::buildRow(Row& row) {
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
    gtk_widget_set_size_request(row.key, keyButtonWidth, -1);
    gtk_widget_set_valign(row.key, GTK_ALIGN_CENTER);
    row.caption = gtk_label_new(nullptr);
    gtk_widget_set_size_request(row.caption, -1, captionHeight);
    gtk_label_set_ellipsize(GTK_LABEL(row.caption), PANGO_ELLIPSIZE_END);
    gtk_container_add(GTK_CONTAINER(row.key), row.caption);
    g_signal_connect_swapped(row.key, "clicked", G_CALLBACK(+[](Row* clicked) {
                                 if (auto* settings = clicked->owner->liveSettings()) settings->begin(clicked->action);
                             }),
                             &row);
    gtk_box_pack_end(GTK_BOX(line), row.key, FALSE, FALSE, 0);
    return line;
}

void SettingsWindow::refresh() {
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

SettingsKeyRecorder::SettingsKeyRecorder(const SettingsWindow& settingsWindow) : settingsWindow_(settingsWindow) {}

SettingsKeyRecorder::~SettingsKeyRecorder() {
    if (keyDown_) remove();
}

void SettingsKeyRecorder::install(KeyDown keyDown) {
    keyDown_ = std::move(keyDown);
    held_.clear();
    gdk_event_handler_set(&SettingsKeyRecorder::onEvent, this, nullptr);
}

void SettingsKeyRecorder::remove() {
    // GTK's own dispatcher, which gtk_init installed and this monitor stood in front of.
    gdk_event_handler_set(+[](GdkEvent* event, gpointer) { gtk_main_do_event(event); }, nullptr, nullptr);
    keyDown_ = nullptr;
    held_.clear();
}

void SettingsKeyRecorder::onEvent(GdkEvent* event, gpointer data) {
    auto* self = static_cast<SettingsKeyRecorder*>(data);
    switch (event->type) {
    case GDK_KEY_PRESS:
        if (self->offer(event->key)) return;
        break;
    case GDK_KEY_RELEASE: self->held_.erase(event->key.hardware_keycode); break;
    case GDK_FOCUS_CHANGE:
        // Releases that happen while another window has the focus never arrive here.
        if (!event->focus_change.in) self->held_.clear();
        break;
    default: break;
    }
    gtk_main_do_event(event);
}

bool SettingsKeyRecorder::offer(const GdkEventKey& key) {
    // macOS sends no key-down for a modifier alone; the combination comes with the next key.
    if (key.is_modifier) return false;
    BriselKeyEvent event;
    event.keyCode = macKeyCode(key.hardware_keycode).value_or(unbindableKeyCode);
    event.modifierFlags = eventModifierFlags(key.state);
    event.isRepeat = !held_.insert(key.hardware_keycode).second;

    GtkWindow* settings = settingsWindow_.window();
    GdkWindow* settingsToplevel = settings ? gtk_widget_get_window(GTK_WIDGET(settings)) : nullptr;
    GdkWindow* toplevel = key.window ? gdk_window_get_toplevel(key.window) : nullptr;
    // A copy: the handler may remove this monitor (recording ended) while it runs.
    const KeyDown keyDown = keyDown_;
    return keyDown(event, toplevel == settingsToplevel);
}

}  // namespace brisel::gtk
