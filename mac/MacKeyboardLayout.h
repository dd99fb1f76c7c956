#pragma once

#include "shortcuts/keyboard_layout_port.h"

namespace brisel::mac {

// The current ASCII-capable keyboard layout through UCKeyTranslate. Main thread (Text Input
// Sources asks for it).
class MacKeyboardLayout final : public KeyboardLayoutPort {
public:
    std::u16string characters(uint32_t keyCode) const override;
};

}  // namespace brisel::mac
