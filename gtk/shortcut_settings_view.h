#pragma once

#include <gtk/gtk.h>

#include <array>
#include <memory>

#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel::gtk {

// The content of "Briselの設定": core's shortcut settings form over one settings object, redrawn
// on every change. Its key displays start a recording; its buttons cancel it or restore the
// defaults.
class BriselShortcutSettingsView {
public:
    static constexpr int width = 640, height = 430;
    static constexpr int keyDisplayWidth = 184;

    explicit BriselShortcutSettingsView(const KeyboardLayoutPort& layout);
    ~BriselShortcutSettingsView();
    BriselShortcutSettingsView(const BriselShortcutSettingsView&) = delete;
    BriselShortcutSettingsView& operator=(const BriselShortcutSettingsView&) = delete;

    GtkWidget* widget() const { return root_; }
    // Shows these settings from now on.
    void observe(BriselShortcutSettings& settings);
    void cancelRecording();

private:
    struct Row {
        BriselShortcutSettingsView* owner = nullptr;
        BriselShortcutAction action = BriselShortcutAction::capture;
        GtkWidget* title = nullptr;
        GtkWidget* help = nullptr;
        GtkWidget* key = nullptr;
        GtkWidget* caption = nullptr;
    };

    GtkWidget* buildRow(Row& row);
    BriselShortcutSettings* liveSettings() const;
    void refresh();

    const KeyboardLayoutPort& layout_;
    BriselShortcutSettings* settings_ = nullptr;
    BriselShortcutSettings::ObserverID observer_ = 0;
    // Expires with the observer, so settings that went first (their owner may) are not touched.
    std::weak_ptr<void> observing_;
    GtkWidget* root_ = nullptr;
    GtkWidget* sectionTitle_ = nullptr;
    std::array<Row, 3> rows_{};
    GtkWidget* explanation_ = nullptr;
    GtkWidget* message_ = nullptr;
    GtkWidget* cancel_ = nullptr;
    GtkWidget* restore_ = nullptr;
};

}  // namespace brisel::gtk
