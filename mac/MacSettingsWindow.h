#pragma once

#import <AppKit/AppKit.h>

#include "shortcuts/settings_window_port.h"

@class BriselShortcutSettingsView;

namespace brisel::mac {

// "Briselの設定" and the key-down monitor of its recorder. The window is made on first show
// and only ordered out when closed, so every later show brings back the same one.
class MacSettingsWindow final : public SettingsWindowPort, public KeyRecorderPort {
public:
    explicit MacSettingsWindow(const KeyboardLayoutPort& layout) : layout_(layout) {}
    ~MacSettingsWindow() override;
    MacSettingsWindow(const MacSettingsWindow&) = delete;
    MacSettingsWindow& operator=(const MacSettingsWindow&) = delete;

    void show(BriselShortcutSettings& settings) override;

    void install(KeyDown keyDown) override;
    void remove() override;

private:
    // True to swallow the event.
    bool offer(NSEvent* event);

    const KeyboardLayoutPort& layout_;
    NSWindow* window_ = nil;
    BriselShortcutSettingsView* view_ = nil;
    ::id monitor_ = nil;
    KeyDown keyDown_;
};

}  // namespace brisel::mac
