#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace brisel {

// A key that may be bound, by its macOS key code, with the page's name for it (`code`, the
// physical key) and the character it types on a US layout (`key`).
struct PhysicalKey {
    uint32_t keyCode;
    std::string_view code;
    std::string_view key;
};

namespace key_code {
inline constexpr uint32_t returnKey = 36;
inline constexpr uint32_t tab = 48;
inline constexpr uint32_t space = 49;
inline constexpr uint32_t escape = 53;
}  // namespace key_code

// The 26 ANSI letters, the ten digits, Return, Space and Escape; nothing else can be bound.
// The digit key codes are not in digit order: 22 is 6 and 23 is 5.
inline constexpr std::array<PhysicalKey, 39> physicalKeys{{
    {0, "KeyA", "a"},   {11, "KeyB", "b"},  {8, "KeyC", "c"},   {2, "KeyD", "d"},   {14, "KeyE", "e"},
    {3, "KeyF", "f"},   {5, "KeyG", "g"},   {4, "KeyH", "h"},   {34, "KeyI", "i"},  {38, "KeyJ", "j"},
    {40, "KeyK", "k"},  {37, "KeyL", "l"},  {46, "KeyM", "m"},  {45, "KeyN", "n"},  {31, "KeyO", "o"},
    {35, "KeyP", "p"},  {12, "KeyQ", "q"},  {15, "KeyR", "r"},  {1, "KeyS", "s"},   {17, "KeyT", "t"},
    {32, "KeyU", "u"},  {9, "KeyV", "v"},   {13, "KeyW", "w"},  {7, "KeyX", "x"},   {16, "KeyY", "y"},
    {6, "KeyZ", "z"},
    {18, "Digit1", "1"}, {19, "Digit2", "2"}, {20, "Digit3", "3"}, {21, "Digit4", "4"}, {23, "Digit5", "5"},
    {22, "Digit6", "6"}, {26, "Digit7", "7"}, {28, "Digit8", "8"}, {25, "Digit9", "9"}, {29, "Digit0", "0"},
    {key_code::returnKey, "Enter", "\r"}, {key_code::space, "Space", " "}, {key_code::escape, "Escape", "\x1b"},
}};

// The table's entry for a key code; null when the key cannot be bound.
constexpr const PhysicalKey* physicalKey(uint32_t keyCode) {
    for (const auto& entry : physicalKeys) {
        if (entry.keyCode == keyCode) return &entry;
    }
    return nullptr;
}

}  // namespace brisel
