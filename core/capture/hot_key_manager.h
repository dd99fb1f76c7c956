#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "capture/hot_key_port.h"
#include "platform/main_queue.h"
#include "shortcuts/key_binding.h"
#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/shortcut_settings.h"

namespace brisel {

// The global capture hot key: one handler for the life of the process and at most one
// registered key, the `capture` binding. Replacing the key never leaves the user without one:
// the new key is registered before the old one is released.
class CaptureHotKey {
public:
    // `requestCapture` runs on the main queue after a press, unless the settings are recording.
    CaptureHotKey(HotKeyPort& hotKeys, MainQueue& mainQueue, const KeyboardLayoutPort& layout,
                  BriselShortcutSettings& shortcuts, std::function<void()> requestCapture);
    CaptureHotKey(const CaptureHotKey&) = delete;
    CaptureHotKey& operator=(const CaptureHotKey&) = delete;

    // At launch: installs the handler and registers the capture binding. A handler that cannot
    // be installed leaves `shortcutError` set and no key; a key that cannot be registered puts
    // its message in the settings' `message`.
    void install();

    // Nothing on success or when `binding` is already the registered key; otherwise the message
    // to show, and the previous key, if any, stays registered.
    std::optional<std::string> replaceCaptureShortcut(const BriselKeyBinding& binding);

    // The settings' `onRecordingChange`, hot-key half: while recording the key is released so
    // the recorder can take the combination; afterwards the capture binding is registered
    // again. Returns the message it stored in the settings, after which the owner sends a status.
    std::optional<std::string> recordingChanged(bool isRecording);

    // At terminate, in this order around the removal of the key-recorder monitor.
    void unregister();
    void removeHandler();

    bool handlerInstalled() const { return handlerInstalled_; }
    bool registered() const { return registered_.has_value(); }
    // A standing hot-key problem for the status event; cleared by a later registration.
    const std::optional<std::string>& shortcutError() const { return shortcutError_; }

private:
    struct Registered {
        HotKeyRef ref;
        BriselKeyBinding binding;
    };

    bool pressed();

    HotKeyPort& hotKeys_;
    MainQueue& mainQueue_;
    const KeyboardLayoutPort& layout_;
    BriselShortcutSettings& shortcuts_;
    std::function<void()> requestCapture_;
    bool handlerInstalled_ = false;
    std::optional<Registered> registered_;
    std::optional<std::string> shortcutError_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace brisel
