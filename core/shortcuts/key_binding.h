#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/shortcut_action.h"

namespace brisel {

// A key-down as the shells hand it over: the macOS key code and the modifier flags in NSEvent's
// bit positions. The mac shell passes NSEvent's values through; the GTK shell translates its
// key and modifiers into the same values, so one recorder serves both.
struct BriselKeyEvent {
    uint32_t keyCode = 0;
    uint64_t modifierFlags = 0;
    bool isRepeat = false;
};

namespace event_modifier {
inline constexpr uint64_t shift = 1u << 17;
inline constexpr uint64_t control = 1u << 18;
inline constexpr uint64_t option = 1u << 19;
inline constexpr uint64_t command = 1u << 20;
}  // namespace event_modifier

// The UI toolkit's modifier set for a button's keyboard shortcut (SwiftUI's EventModifiers,
// GTK's accelerator mask).
struct ToolkitModifiers {
    bool command = false;
    bool shift = false;
    bool option = false;
    bool control = false;
    bool operator==(const ToolkitModifiers&) const = default;
};

// One shortcut: a macOS key code with Carbon modifier bits. Both are kept as they are on every
// platform, so the persisted value and what the page receives are the same everywhere.
struct BriselKeyBinding {
    static constexpr uint32_t command = 0x0100;
    static constexpr uint32_t shift = 0x0200;
    static constexpr uint32_t option = 0x0800;
    static constexpr uint32_t control = 0x1000;
    static constexpr uint32_t modifierMask = command | shift | option | control;

    uint32_t keyCode = 0;
    uint32_t modifiers = 0;

    // Takes the key code as is and keeps only the four modifiers: Caps Lock, Function and the
    // like are dropped, so ⇪⌘K is ⌘K.
    static BriselKeyBinding fromEvent(const BriselKeyEvent& event);

    bool operator==(const BriselKeyBinding&) const = default;

    // The page's name of the physical key; empty for a key outside the table.
    std::string code() const;
    // The character the key types in the current layout, lower case; Return, Space and Escape
    // are their own characters whatever the layout.
    std::string key(const KeyboardLayoutPort& layout) const;
    // What the user reads, e.g. "⌥⌘K", "⌘Enter", "Esc", "⌃⇧Space".
    std::string label(const KeyboardLayoutPort& layout) const;
    // The seven entries the page compares its own key events with.
    nlohmann::json webValue(const KeyboardLayoutPort& layout) const;
    ToolkitModifiers toolkitModifiers() const;

    // Nothing when the binding may serve `action`, else the one sentence saying why not.
    std::optional<std::string> error(BriselShortcutAction action) const;
};

}  // namespace brisel

// Bindings as set members and map keys. The two 32-bit fields pack into one 64-bit value, so
// bindings hash equal exactly when they are equal.
template <>
struct std::hash<brisel::BriselKeyBinding> {
    size_t operator()(const brisel::BriselKeyBinding& binding) const noexcept {
        return std::hash<uint64_t>{}(uint64_t{binding.keyCode} << 32 | binding.modifiers);
    }
};
