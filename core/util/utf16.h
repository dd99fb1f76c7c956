#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brisel {

// UTF-16 text, the unit in which ICU's regular expressions and the platform's strings count.

// Nothing when the bytes are not UTF-8.
std::optional<std::u16string> utf16FromUTF8(std::string_view utf8);

// A lone surrogate becomes U+FFFD.
std::string utf8FromUTF16(std::u16string_view utf16);

// Full Unicode case mapping in the root locale, as Foundation maps case without a locale
// ("ß" upper-cases to "SS").
std::u16string uppercased(std::u16string_view text);
std::u16string lowercased(std::u16string_view text);

}  // namespace brisel
