#include "capture/hot_key_manager.h"

#include <utility>

#include "shortcuts/shortcut_texts.h"

namespace brisel {

CaptureHotKey::CaptureHotKey(HotKeyPort& hotKeys, MainQueue& mainQueue, const KeyboardLayoutPort& layout,
                             BriselShortcutSettings& shortcuts, std::function<void()> requestCapture)
    : hotKeys_(hotKeys),
      mainQueue_(mainQueue),
      layout_(layout),
      shortcuts_(shortcuts),
      requestCapture_(std::move(requestCapture)) {}

void CaptureHotKey::install() {
    const int32_t status = hotKeys_.installHandler([alive = std::weak_ptr<bool>(alive_), this] {
        return alive.lock() && pressed();
    });
    if (status != 0) {
        // The page's capture button still works, so this is reported, not fatal.
        shortcutError_ = shortcut_texts::hotKeyHandlerNotInstalled;
        return;
    }
    handlerInstalled_ = true;
    if (auto message = replaceCaptureShortcut(shortcuts_.bindings().capture)) shortcuts_.setMessage(std::move(*message));
}

std::optional<std::string> CaptureHotKey::replaceCaptureShortcut(const BriselKeyBinding& binding) {
    if (!handlerInstalled_) return shortcut_texts::hotKeyHandlerMissing;
    if (registered_ && registered_->binding == binding) return std::nullopt;

    const HotKeyRegistration registration = hotKeys_.registerHotKey(binding.keyCode, binding.modifiers);
    if (registration.status == 0 && registration.ref) {
        if (registered_) hotKeys_.unregisterHotKey(registered_->ref);
        registered_ = Registered{*registration.ref, binding};
        shortcutError_.reset();
        return std::nullopt;
    }
    std::string message = binding.label(layout_) + shortcut_texts::hotKeyNotRegisteredAfterLabel;
    // With an older key still working there is no standing problem to report.
    if (!registered_) shortcutError_ = message;
    return message;
}

std::optional<std::string> CaptureHotKey::recordingChanged(bool isRecording) {
    if (isRecording) {
        unregister();
        return std::nullopt;
    }
    auto message = replaceCaptureShortcut(shortcuts_.bindings().capture);
    if (message) shortcuts_.setMessage(*message);
    return message;
}

void CaptureHotKey::unregister() {
    if (!registered_) return;
    hotKeys_.unregisterHotKey(registered_->ref);
    registered_.reset();
}

void CaptureHotKey::removeHandler() {
    if (!handlerInstalled_) return;
    hotKeys_.removeHandler();
    handlerInstalled_ = false;
}

bool CaptureHotKey::pressed() {
    // Deferred to the next main-queue turn rather than run inside the event manager's callback.
    mainQueue_.post([alive = std::weak_ptr<bool>(alive_), this] {
        if (!alive.lock()) return;
        // While the recorder waits for a key, the combination belongs to it.
        if (!shortcuts_.recording()) requestCapture_();
    });
    return true;
}

}  // namespace brisel
