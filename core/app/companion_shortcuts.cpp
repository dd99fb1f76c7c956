// The shortcut settings as the companion wires them: the capture hot key follows the capture
// binding, the reading-controls strip shows the save and return bindings, and the page hears
// of every change in a status event.
#include "app/companion.h"

namespace brisel {

void Companion::wireShortcutSettings() {
    // A candidate set takes effect only if its capture key can be registered.
    shortcuts_.onApply = [alive = std::weak_ptr<bool>(alive_), this](const BriselShortcutBindings& bindings) {
        return alive.lock() ? hotKey_.replaceCaptureShortcut(bindings.capture) : std::nullopt;
    };
    shortcuts_.onChange = weakly([this] {
        mirrorShortcuts();
        sendStatus();
    });
    shortcuts_.onRecordingChange = weakly([this](bool isRecording) { shortcutRecordingChanged(isRecording); });
}

void Companion::shortcutRecordingChanged(bool isRecording) {
    removeKeyRecorder();
    if (isRecording) {
        ports_.keyRecorder.install(
            [alive = std::weak_ptr<bool>(alive_), this](const BriselKeyEvent& event, bool inSettingsWindow) {
                // Only keys typed in the settings window are recorded; a key meant for another
                // window (the page's text field) reaches it untouched.
                if (!alive.lock() || !inSettingsWindow || !shortcuts_.recording()) return false;
                // Swallowed even when it ends the recording: ⌘Q must not also quit.
                shortcuts_.accept(event);
                return true;
            });
        keyRecorderInstalled_ = true;
        // Released so that the capture combination itself can be recorded without a capture.
        hotKey_.recordingChanged(true);
        return;
    }
    if (hotKey_.recordingChanged(false)) sendStatus();
}

void Companion::removeKeyRecorder() {
    if (!keyRecorderInstalled_) return;
    ports_.keyRecorder.remove();
    keyRecorderInstalled_ = false;
}

void Companion::mirrorShortcuts() {
    const KeyboardLayoutPort& layout = ports_.keyboardLayout;
    const auto hint = [&](const BriselKeyBinding& binding) {
        return BriselReadingControlsModel::ShortcutHint{binding.key(layout), binding.modifiers, binding.label(layout)};
    };
    const auto& bindings = shortcuts_.bindings();
    readingControls_.setShortcutHints(hint(bindings.saveAndReturn), hint(bindings.returnToReading));
}

void Companion::openSettings() {
    ports_.settingsWindow.show(shortcuts_);
    ports_.application.activateIgnoringOtherApps();
}

}  // namespace brisel
