#include "settings_window.h"

#include <utility>

#include "app/texts.h"
#include "physical_key_codes.h"

namespace brisel::gtk {

SettingsWindow::~SettingsWindow() {
    if (window_) {
        g_signal_handlers_disconnect_by_data(window_, this);
        gtk_widget_destroy(GTK_WIDGET(window_));
    }
}

void SettingsWindow::show(BriselShortcutSettings& settings) {
    if (!window_) build();
    view_->observe(settings);
    gtk_window_deiconify(window_);
    // Presenting a hidden window only maps it and leaves the focus to the window manager; a
    // shown one is raised and given the focus, as making it key does on macOS.
    gtk_widget_show(GTK_WIDGET(window_));
    gtk_window_present(window_);
}

void SettingsWindow::build() {
    window_ = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    gtk_window_set_title(window_, texts::settingsWindowTitle);
    gtk_window_set_role(window_, "settings");
    gtk_window_set_resizable(window_, FALSE);
    gtk_window_set_keep_above(window_, TRUE);
    gtk_window_set_position(window_, GTK_WIN_POS_CENTER);
    view_ = std::make_unique<BriselShortcutSettingsView>(layout_);
    gtk_container_add(GTK_CONTAINER(window_), view_->widget());
    g_signal_connect(window_, "delete-event", G_CALLBACK(+[](GtkWidget* window, GdkEvent*, gpointer data) -> gboolean {
                         static_cast<SettingsWindow*>(data)->view_->cancelRecording();
                         return gtk_widget_hide_on_delete(window);
                     }),
                     this);
    g_signal_connect(window_, "notify::is-active", G_CALLBACK(+[](GtkWindow* window, GParamSpec*, gpointer data) {
                         if (!gtk_window_is_active(window)) static_cast<SettingsWindow*>(data)->view_->cancelRecording();
                     }),
                     this);
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
