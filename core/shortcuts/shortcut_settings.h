#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "shortcuts/key_binding.h"
#include "shortcuts/key_value_store_port.h"
#include "shortcuts/shortcut_bindings.h"

namespace brisel {

// The bindings in force, their persistence and the key recorder of the settings form. One
// instance lives as long as the application; everything runs on the main thread.
class BriselShortcutSettings {
public:
    static constexpr const char* storageKey = "brisel.keyboardShortcuts.v1";

    // Loads the stored bindings. Missing, corrupt, partial or refused values give the full
    // defaults, silently, and stay in the store until the next successful apply replaces them.
    explicit BriselShortcutSettings(KeyValueStorePort& store);
    BriselShortcutSettings(const BriselShortcutSettings&) = delete;
    BriselShortcutSettings& operator=(const BriselShortcutSettings&) = delete;

    const BriselShortcutBindings& bindings() const { return bindings_; }
    // The action whose new key is awaited.
    std::optional<BriselShortcutAction> recording() const { return recording_; }
    // The status or error line under the form; empty when there is nothing to say.
    const std::string& message() const { return message_; }
    // The owner reports hot-key trouble here.
    void setMessage(std::string message);

    void begin(BriselShortcutAction action);
    void cancel();
    // A key-down while the settings window records; Escape and Tab cancel, repeats are ignored.
    void accept(const BriselKeyEvent& event);
    // Validates, lets `onApply` veto, stores and publishes a complete set; true when it took effect.
    bool apply(const BriselShortcutBindings& candidate);
    void restore();

    // Set by the owner. `onApply` gets the candidate and returns a message to refuse it.
    std::function<std::optional<std::string>(const BriselShortcutBindings&)> onApply;
    std::function<void()> onChange;
    std::function<void(bool isRecording)> onRecordingChange;

    // Told after every change of `bindings`, `recording` or `message`, for views to redraw.
    using ObserverID = uint64_t;
    ObserverID addObserver(std::function<void()> observer);
    void removeObserver(ObserverID observer);

private:
    void endRecording();
    void published();

    KeyValueStorePort& store_;
    BriselShortcutBindings bindings_;
    std::optional<BriselShortcutAction> recording_;
    std::string message_;
    std::vector<std::pair<ObserverID, std::function<void()>>> observers_;
    ObserverID nextObserver_ = 1;
};

}  // namespace brisel
