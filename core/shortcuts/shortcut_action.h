#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace brisel {

// The three re-bindable actions. Their order is that of the settings form, of validation and
// of the persisted object.
enum class BriselShortcutAction { capture, saveAndReturn, returnToReading };

inline constexpr std::array<BriselShortcutAction, 3> allShortcutActions{
    BriselShortcutAction::capture, BriselShortcutAction::saveAndReturn, BriselShortcutAction::returnToReading};

// The raw value, which is also the action's identifier and its key in the persisted object.
std::string_view actionName(BriselShortcutAction action);
std::string_view title(BriselShortcutAction action);
std::string_view help(BriselShortcutAction action);

// The action of a raw value; none for an unknown one.
std::optional<BriselShortcutAction> shortcutAction(std::string_view rawValue);

}  // namespace brisel
