#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace brisel {

// The state behind the native save / return strip, driven by the page's "readingControls"
// statuses and by the strip's buttons. Listeners redraw on every change.
class BriselReadingControlsModel {
public:
    static constexpr const char* saveAndReturnRequested = "saveAndReturnRequested";
    static constexpr const char* returnRequested = "returnRequested";
    static constexpr int64_t maximumSaveAttempt = 9007199254740991;  // 2^53 - 1, the page's safe integer
    static constexpr size_t maximumControlIdUTF16Units = 128;

    bool visible = false;
    std::string controlId;
    bool draft = false;
    bool pending = false;
    bool saving = false;
    bool returningAfterSave = false;
    int64_t saveAttempt = 0;
    bool saveRequested = false;

    // The key hints of the save and return shortcuts, mirrored from the shortcut settings. The
    // modifiers are Carbon's bits, which each shell turns into its toolkit's modifier set.
    struct ShortcutHint {
        std::string key;         // the character the key types: "\r" for Return, "\x1b" for Escape
        uint32_t modifiers = 0;  // command 0x0100, shift 0x0200, option 0x0800, control 0x1000
        std::string label;       // as the user reads it, e.g. "⌘Enter"
        bool operator==(const ShortcutHint&) const = default;
    };
    ShortcutHint saveShortcut{"\r", 0x0100, "⌘Enter"};
    ShortcutHint returnShortcut{"\x1b", 0, "Esc"};

    std::function<void(const std::string& action, const std::string& controlId)> onAction;
    std::function<void()> onChange;

    bool isSaving() const { return saving || saveRequested; }
    bool showsSaveAction() const { return visible && draft && !pending; }
    bool canSave() const { return showsSaveAction() && !saving && !saveRequested; }
    bool closesWithoutSaving() const { return (draft || pending) && !saving && !saveRequested; }

    // Applies one status from the page; false (and nothing changed) when it is malformed or stale.
    bool update(const nlohmann::json& message);
    // A button or its shortcut; true when the action went to `onAction`.
    bool perform(const std::string& action, const std::string& controlId);
    void reset();
    // Takes the save and return bindings' hints; listeners hear of it only when they changed.
    void setShortcutHints(ShortcutHint save, ShortcutHint giveBack);

private:
    struct LastState {
        std::string controlId;
        bool draft, pending, saving, returningAfterSave;
        int64_t saveAttempt;
    };

    void changed();

    std::optional<LastState> lastState_;
};

}  // namespace brisel
