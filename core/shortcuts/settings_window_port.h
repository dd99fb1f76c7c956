#pragma once

#include <functional>

#include "shortcuts/key_binding.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel {

// The shortcut settings window, "Briselの設定": a floating, titled, closable window of
// 640 × 430 that draws `shortcutSettingsForm` over the settings and redraws on every change.
class SettingsWindowPort {
public:
    virtual ~SettingsWindowPort() = default;
    // Makes the window on first use (centred) and reuses it after it was closed; then
    // de-miniaturises it, makes it key and orders it front.
    virtual void show(BriselShortcutSettings& settings) = 0;
};

// The local key-down monitor that feeds the shortcut recorder while it records.
class KeyRecorderPort {
public:
    // Gets every key-down of this application with whether it happened in the settings window
    // (both absent counts as in it); returns true to swallow the event.
    using KeyDown = std::function<bool(const BriselKeyEvent& event, bool inSettingsWindow)>;

    virtual ~KeyRecorderPort() = default;
    virtual void install(KeyDown keyDown) = 0;
    virtual void remove() = 0;
};

}  // namespace brisel
