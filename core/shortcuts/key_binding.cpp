#include "shortcuts/key_binding.h"

#include "shortcuts/physical_keys.h"
#include "util/utf16.h"

namespace brisel {

namespace {

// The key's text before any case change: the layout's one character, or the table's.
std::u16string keyText(uint32_t keyCode, const KeyboardLayoutPort& layout) {
    const PhysicalKey* entry = physicalKey(keyCode);
    const std::string_view tableKey = entry ? entry->key : std::string_view();
    if (keyCode == key_code::returnKey || keyCode == key_code::space || keyCode == key_code::escape) {
        return utf16FromUTF8(tableKey).value_or(std::u16string());
    }
    // Only a single typed character names the key; dead keys, ligatures and failures fall back
    // to the US character of the physical key. A lone surrogate ends up as U+FFFD.
    const std::u16string units = layout.characters(keyCode);
    if (units.size() == 1) return lowercased(units);
    return utf16FromUTF8(tableKey).value_or(std::u16string());
}

}  // namespace

BriselKeyBinding BriselKeyBinding::fromEvent(const BriselKeyEvent& event) {
    uint32_t modifiers = 0;
    if (event.modifierFlags & event_modifier::command) modifiers |= command;
    if (event.modifierFlags & event_modifier::shift) modifiers |= shift;
    if (event.modifierFlags & event_modifier::option) modifiers |= option;
    if (event.modifierFlags & event_modifier::control) modifiers |= control;
    return {event.keyCode, modifiers};
}

std::string BriselKeyBinding::code() const {
    const PhysicalKey* entry = physicalKey(keyCode);
    return entry ? std::string(entry->code) : std::string();
}

std::string BriselKeyBinding::key(const KeyboardLayoutPort& layout) const { return utf8FromUTF16(keyText(keyCode, layout)); }

std::string BriselKeyBinding::label(const KeyboardLayoutPort& layout) const {
    std::string text;
    if (modifiers & control) text += "⌃";
    if (modifiers & option) text += "⌥";
    if (modifiers & shift) text += "⇧";
    if (modifiers & command) text += "⌘";
    switch (keyCode) {
    case key_code::returnKey: return text + "Enter";
    case key_code::space: return text + "Space";
    case key_code::escape: return text + "Esc";
    default: return text + utf8FromUTF16(uppercased(keyText(keyCode, layout)));
    }
}

nlohmann::json BriselKeyBinding::webValue(const KeyboardLayoutPort& layout) const {
    std::string pageKey;
    switch (keyCode) {
    case key_code::returnKey: pageKey = "Enter"; break;
    case key_code::escape: pageKey = "Escape"; break;
    default: pageKey = key(layout);
    }
    return {{"code", code()},
            {"key", pageKey},
            {"label", label(layout)},
            {"meta", (modifiers & command) != 0},
            {"alt", (modifiers & option) != 0},
            {"ctrl", (modifiers & control) != 0},
            {"shift", (modifiers & shift) != 0}};
}

ToolkitModifiers BriselKeyBinding::toolkitModifiers() const {
    return {(modifiers & command) != 0, (modifiers & shift) != 0, (modifiers & option) != 0,
            (modifiers & control) != 0};
}

}  // namespace brisel
