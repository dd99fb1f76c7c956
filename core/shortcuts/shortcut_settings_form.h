#pragma once

#include <array>
#include <string>

#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel {

// One row of the settings form. Clicking its key button calls `begin(action)`.
struct ShortcutSettingsRow {
    BriselShortcutAction action = BriselShortcutAction::capture;
    std::string title;
    std::string help;
    std::string caption;  // "キーを押してください…" while this row records, else the label
    std::string tooltip;
    std::string accessibilityLabel;
    std::string accessibilityValue;
    bool recording = false;
};

// What the settings form shows, so both shells draw the same thing from the same state.
struct ShortcutSettingsForm {
    static constexpr const char* messageAccessibilityIdentifier = "shortcut-settings-message";

    std::string sectionTitle;
    std::array<ShortcutSettingsRow, 3> rows;
    std::string explanation;
    std::string message;
    bool showsCancel = false;  // the "入力をキャンセル" button, calling `cancel`
    std::string cancelTitle;
    std::string restoreTitle;  // calls `restore`
};

ShortcutSettingsForm shortcutSettingsForm(const BriselShortcutSettings& settings, const KeyboardLayoutPort& layout);

}  // namespace brisel
