// The rules that refuse a binding: keys that cannot be shown, combinations that would type text,
// and combinations macOS keeps for itself. The first rule that fires gives the message.
#include <algorithm>
#include <array>
#include <bit>
#include <unordered_set>

#include "shortcuts/key_binding.h"
#include "shortcuts/physical_keys.h"
#include "shortcuts/shortcut_bindings.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {

namespace {

using Binding = BriselKeyBinding;

// ⌘ with these is a standard editing or window command: A S D F H G Z X C V B Q W E T O U I P
// L N M, 0 and Space (Spotlight).
constexpr std::array<uint32_t, 24> commandReserved{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  11, 12,
                                                   13, 14, 17, 29, 31, 32, 34, 35, 37, 45, 46, 49};
// ⇧⌘ with these is save-as, redo or a screenshot: S, Z and 1 to 5. ⇧⌘6 stays free.
constexpr std::array<uint32_t, 7> shiftCommandReserved{1, 6, 18, 19, 20, 21, 23};

template <size_t N>
bool contains(const std::array<uint32_t, N>& keys, uint32_t keyCode) {
    return std::find(keys.begin(), keys.end(), keyCode) != keys.end();
}

bool hasCommandOrControl(uint32_t modifiers) { return (modifiers & (Binding::command | Binding::control)) != 0; }

// The rules after the per-action ones, shared by every action.
std::optional<std::string> reservedBySystem(const Binding& binding) {
    const uint32_t keyCode = binding.keyCode;
    const uint32_t modifiers = binding.modifiers;
    if (modifiers == Binding::command && contains(commandReserved, keyCode)) return shortcut_texts::reservedByMac;
    // ⌘Space was Spotlight above; Space with any other modifiers switches input sources.
    if (keyCode == key_code::space) return shortcut_texts::reservedForInputSwitching;
    if (modifiers == (Binding::control | Binding::command) && keyCode == 12) return shortcut_texts::reservedForScreenLock;
    if (modifiers == (Binding::shift | Binding::command) && contains(shiftCommandReserved, keyCode)) {
        return shortcut_texts::reservedByMac;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> BriselKeyBinding::error(BriselShortcutAction action) const {
    if (!physicalKey(keyCode) || (modifiers & ~modifierMask) != 0) return shortcut_texts::keyOutsideTable;

    if (action == BriselShortcutAction::returnToReading) {
        // Esc alone is the one binding without ⌘ or ⌃; with anything added it is refused.
        if (keyCode == key_code::escape) {
            if (modifiers == 0) return std::nullopt;
            return shortcut_texts::needsCommandOrControl;
        }
        if (!hasCommandOrControl(modifiers)) return shortcut_texts::needsCommandOrControl;
    } else {
        // Escape belongs to cancelling and to returning to reading.
        if (keyCode == key_code::escape || !hasCommandOrControl(modifiers)) return shortcut_texts::needsCommandOrControl;
        // The global capture key must not collide with other applications' one-modifier keys.
        if (action == BriselShortcutAction::capture && std::popcount(modifiers) == 1) {
            return shortcut_texts::captureNeedsSecondModifier;
        }
    }
    return reservedBySystem(*this);
}

std::optional<std::string> BriselShortcutBindings::error() const {
    for (const auto action : allShortcutActions) {
        if (auto message = (*this)[action].error(action)) return message;
    }
    // Any two actions on one key are a duplicate.
    const std::unordered_set<BriselKeyBinding> distinct{capture, saveAndReturn, returnToReading};
    if (distinct.size() < allShortcutActions.size()) return shortcut_texts::duplicateBinding;
    return std::nullopt;
}

}  // namespace brisel
