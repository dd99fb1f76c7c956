#include "util/utf16.h"

#include <unicode/ustring.h>

#include <cstdint>

namespace brisel {

namespace {

// ICU's C API counts in int32_t; longer texts are refused rather than cut.
bool fitsICU(size_t length) { return length <= static_cast<size_t>(INT32_MAX); }

// Runs an ICU string function that writes into a caller's buffer, once more with the size it
// asked for when the first guess was short.
template <typename Char, typename Write>
bool writeICU(std::basic_string<Char>& out, size_t guess, Write write) {
    out.resize(guess);
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = write(out.data(), static_cast<int32_t>(out.size()), status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        out.resize(static_cast<size_t>(length));
        status = U_ZERO_ERROR;
        length = write(out.data(), static_cast<int32_t>(out.size()), status);
    }
    if (U_FAILURE(status)) return false;
    out.resize(static_cast<size_t>(length));
    return true;
}

std::u16string caseMapped(std::u16string_view text,
                          int32_t (*map)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*)) {
    std::u16string result;
    if (!fitsICU(text.size())) return result;
    const bool mapped = writeICU(result, text.size(), [&](char16_t* buffer, int32_t capacity, UErrorCode& status) {
        // "" is the root locale; a null locale would be the process's default one.
        return map(buffer, capacity, text.data(), static_cast<int32_t>(text.size()), "", &status);
    });
    return mapped ? result : std::u16string();
}

}  // namespace

std::optional<std::u16string> utf16FromUTF8(std::string_view utf8) {
    if (!fitsICU(utf8.size())) return std::nullopt;
    std::u16string result;
    // UTF-16 never needs more units than UTF-8 has bytes, so one call is enough.
    const bool converted = writeICU(result, utf8.size(), [&](char16_t* buffer, int32_t capacity, UErrorCode& status) {
        int32_t length = 0;
        // U_SENTINEL as the substitute makes ill-formed bytes an error instead of U+FFFD.
        u_strFromUTF8WithSub(buffer, capacity, &length, utf8.data(), static_cast<int32_t>(utf8.size()), U_SENTINEL,
                             nullptr, &status);
        return length;
    });
    if (!converted) return std::nullopt;
    return result;
}

std::string utf8FromUTF16(std::u16string_view utf16) {
    std::string result;
    if (!fitsICU(utf16.size())) return result;
    // Three bytes per unit covers every character (a surrogate pair takes four bytes for two).
    const size_t guess = utf16.size() > static_cast<size_t>(INT32_MAX) / 3 ? INT32_MAX : utf16.size() * 3;
    const bool converted = writeICU(result, guess, [&](char* buffer, int32_t capacity, UErrorCode& status) {
        int32_t length = 0;
        u_strToUTF8WithSub(buffer, capacity, &length, utf16.data(), static_cast<int32_t>(utf16.size()), 0xFFFD,
                           nullptr, &status);
        return length;
    });
    return converted ? result : std::string();
}

std::u16string uppercased(std::u16string_view text) { return caseMapped(text, u_strToUpper); }

std::u16string lowercased(std::u16string_view text) { return caseMapped(text, u_strToLower); }

}  // namespace brisel
