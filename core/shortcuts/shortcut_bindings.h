#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "shortcuts/key_binding.h"
#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/shortcut_action.h"

namespace brisel {

// The three bindings in force, one per action. A default-constructed set is the defaults:
// ⌥⌘K, ⌘Enter and Esc.
struct BriselShortcutBindings {
    BriselKeyBinding capture{40, BriselKeyBinding::option | BriselKeyBinding::command};
    BriselKeyBinding saveAndReturn{36, BriselKeyBinding::command};
    BriselKeyBinding returnToReading{53, 0};

    BriselKeyBinding& operator[](BriselShortcutAction action);
    const BriselKeyBinding& operator[](BriselShortcutAction action) const;
    bool operator==(const BriselShortcutBindings&) const = default;

    // {"capture": …, "saveAndReturn": …, "returnToReading": …}, each the binding's webValue.
    nlohmann::json webValue(const KeyboardLayoutPort& layout) const;

    // The first binding's own error in action order, then the check that no two are the same.
    std::optional<std::string> error() const;
};

// The persisted form: {"capture":{"keyCode":40,"modifiers":2304},"saveAndReturn":…,"returnToReading":…}.
std::string encodeShortcutBindings(const BriselShortcutBindings& bindings);

// Strict: every action and both of its fields must be there, as whole numbers that fit in 32
// unsigned bits (no booleans, fractions or negatives); anything else fails the whole decode.
// Unknown keys are ignored. Never throws.
std::optional<BriselShortcutBindings> decodeShortcutBindings(std::string_view bytes) noexcept;

}  // namespace brisel
