#include "shortcuts/shortcut_settings_form.h"

#include "shortcuts/shortcut_texts.h"

namespace brisel {

namespace {

ShortcutSettingsRow formRow(const BriselShortcutSettings& settings, BriselShortcutAction action,
                        const KeyboardLayoutPort& layout) {
    const bool recording = settings.recording() == action;
    const std::string label = settings.bindings()[action].label(layout);
    return {action,
            std::string(title(action)),
            std::string(help(action)),
            recording ? shortcut_texts::pressKeys : label,
            shortcut_texts::keyButtonTooltip,
            std::string(title(action)) + shortcut_texts::keyButtonAccessibilitySuffix,
            recording ? shortcut_texts::waitingForKeys : label,
            recording};
}

}  // namespace

ShortcutSettingsForm shortcutSettingsForm(const BriselShortcutSettings& settings, const KeyboardLayoutPort& layout) {
    ShortcutSettingsForm form;
    form.sectionTitle = shortcut_texts::sectionTitle;
    for (size_t i = 0; i < allShortcutActions.size(); ++i) form.rows[i] = formRow(settings, allShortcutActions[i], layout);
    form.explanation = shortcut_texts::explanation;
    form.message = settings.message();
    form.showsCancel = settings.recording().has_value();
    form.cancelTitle = shortcut_texts::cancelRecording;
    form.restoreTitle = shortcut_texts::restoreDefaults;
    return form;
}

}  // namespace brisel
