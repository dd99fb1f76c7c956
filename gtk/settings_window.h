#pragma once

#include <gtk/gtk.h>

#include <memory>
#include <set>

#include "shortcut_settings_view.h"
#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/settings_window_port.h"

namespace brisel::gtk {

// "Briselの設定": the shortcut settings view in a floating window. Made on first show and only
// hidden when closed, so every later show brings back the same window. Closing it or leaving it
// ends a recording, as losing the key window does on macOS.
class SettingsWindow final : public SettingsWindowPort {
public:
    explicit SettingsWindow(const KeyboardLayoutPort& layout) : layout_(layout) {}
    ~SettingsWindow() override;
    SettingsWindow(const SettingsWindow&) = delete;
    SettingsWindow& operator=(const SettingsWindow&) = delete;

    void show(BriselShortcutSettings& settings) override;

    // Null until the first show.
    GtkWindow* window() const { return window_; }

private:
    void build();

    const KeyboardLayoutPort& layout_;
    std::unique_ptr<BriselShortcutSettingsView> view_;
    GtkWindow* window_ = nullptr;
};

// The key-down monitor of the shortcut recorder: every key press of this application is
// offered to it before GTK sees it, with macOS key codes and modifier flags.
class SettingsKeyRecorder final : public KeyRecorderPort {
public:
    explicit SettingsKeyRecorder(const SettingsWindow& settingsWindow);
    ~SettingsKeyRecorder() override;
    SettingsKeyRecorder(const SettingsKeyRecorder&) = delete;
    SettingsKeyRecorder& operator=(const SettingsKeyRecorder&) = delete;

    void install(KeyDown keyDown) override;
    void remove() override;

private:
    static void onEvent(GdkEvent* event, gpointer data);
    bool offer(const GdkEventKey& key);

    const SettingsWindow& settingsWindow_;
    KeyDown keyDown_;
    // X11 repeats a held key as further presses without releases.
    std::set<guint16> held_;
};

}  // namespace brisel::gtk
