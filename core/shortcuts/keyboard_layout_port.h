#pragma once

#include <cstdint>
#include <string>

namespace brisel {

// The user's current ASCII-capable keyboard layout (UCKeyTranslate on macOS, the XKB keymap on
// Linux).
class KeyboardLayoutPort {
public:
    virtual ~KeyboardLayoutPort() = default;
    // The UTF-16 units that the key with this macOS key code types when pressed with no
    // modifiers and without dead keys (room for four); empty when the layout has no data or the
    // translation fails. Core decides what to make of anything but exactly one unit.
    virtual std::u16string characters(uint32_t keyCode) const = 0;
};

}  // namespace brisel
