#include "shortcuts/shortcut_action.h"

#include "shortcuts/shortcut_texts.h"

namespace brisel {

std::string_view actionName(BriselShortcutAction action) {
    switch (action) {
    case BriselShortcutAction::capture: return "capture";
    case BriselShortcutAction::saveAndReturn: return "saveAndReturn";
    case BriselShortcutAction::returnToReading: return "returnToReading";
    }
    return {};
}

std::string_view title(BriselShortcutAction action) {
    switch (action) {
    case BriselShortcutAction::capture: return shortcut_texts::captureTitle;
    case BriselShortcutAction::saveAndReturn: return shortcut_texts::saveAndReturnTitle;
    case BriselShortcutAction::returnToReading: return shortcut_texts::returnToReadingTitle;
    }
    return {};
}

std::string_view help(BriselShortcutAction action) {
    switch (action) {
    case BriselShortcutAction::capture: return shortcut_texts::captureHelp;
    case BriselShortcutAction::saveAndReturn: return shortcut_texts::saveAndReturnHelp;
    case BriselShortcutAction::returnToReading: return shortcut_texts::returnToReadingHelp;
    }
    return {};
}

std::optional<BriselShortcutAction> shortcutAction(std::string_view rawValue) {
    for (const auto action : allShortcutActions) {
        if (actionName(action) == rawValue) return action;
    }
    return std::nullopt;
}

}  // namespace brisel
