#include "MacKeyboardLayout.h"

#include <Carbon/Carbon.h>

#include <memory>

namespace brisel::mac {

std::u16string MacKeyboardLayout::characters(uint32_t keyCode) const {
    const std::unique_ptr<const void, decltype(&CFRelease)> source(TISCopyCurrentASCIICapableKeyboardLayoutInputSource(),
                                                                   &CFRelease);
    if (!source) return {};
    const auto data = static_cast<CFDataRef>(TISGetInputSourceProperty(
        static_cast<TISInputSourceRef>(const_cast<void*>(source.get())), kTISPropertyUnicodeKeyLayoutData));
    if (!data) return {};
    const auto* layout = reinterpret_cast<const UCKeyboardLayout*>(CFDataGetBytePtr(data));
    UInt32 deadKeyState = 0;
    UniChar units[4] = {};
    UniCharCount length = 0;
    const OSStatus status = UCKeyTranslate(layout, static_cast<UInt16>(keyCode), kUCKeyActionDown, 0, LMGetKbdType(),
                                           kUCKeyTranslateNoDeadKeysMask, &deadKeyState, 4, &length, units);
    if (status != noErr) return {};
    return std::u16string(reinterpret_cast<const char16_t*>(units), length);
}

}  // namespace brisel::mac
