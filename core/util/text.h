#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace brisel {

bool isValidUTF8(std::string_view bytes);

// Trims Unicode white space and line breaks at both ends (what Foundation calls
// whitespacesAndNewlines), so "cloud\n" and "  cloud " read as "cloud".
std::string trimWhitespaceAndNewlines(std::string_view text);

// True for NUL or any line break, Unicode ones included.
bool containsNulOrLineBreak(std::string_view text);

// The length in UTF-16 code units, as JavaScript and Foundation count a string.
size_t utf16Length(std::string_view utf8);

// True for any control (Cc) or format (Cf) character.
bool containsControlCharacter(std::string_view utf8);

// The whole file as UTF-8 text; absent when it is not a regular file (a folder, a pipe, a link
// that loops), cannot be read or is not valid UTF-8. Never throws.
std::optional<std::string> readUTF8File(const std::filesystem::path& path);

// The file read as UTF-8 and trimmed; absent when unreadable.
std::optional<std::string> readTrimmedSetting(const std::filesystem::path& path);

// Text as Foundation and JavaScript hold it, in UTF-16 code units, to and from core's UTF-8.
// Every UTF-16 string survives the round trip: U+0000 stays where it is, and an unpaired
// surrogate takes the three-byte form of its code point (ED A0 80 to ED BF BF, the generalised
// UTF-8 known as WTF-8). That form is not UTF-8, so core's checks (`isValidUTF8`, the Kindle copy
// verification, the native-event serialiser) refuse such text instead of passing it on altered.
std::string wtf8FromUTF16(std::u16string_view utf16);
// The way back. A byte that is neither UTF-8 nor that three-byte form becomes U+FFFD, one for
// each such byte.
std::u16string utf16FromWTF8(std::string_view utf8);

// Unicode scalar values in UTF-8 text, the unit of the passage length limit (an emoji made of
// several scalars counts as several). A byte that is not part of a valid sequence counts as one.
size_t unicodeScalarCount(std::string_view utf8);

}  // namespace brisel
