#include "util/text.h"

#include <unicode/uchar.h>

#include <fstream>
#include <iterator>

namespace brisel {

namespace {

// Decodes one scalar at `i`; returns its length, or 0 when the bytes there are not UTF-8.
size_t decodeScalar(std::string_view s, size_t i, char32_t& out) {
    const auto b = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char lead = b(i);
    size_t length = 0;
    char32_t minimum = 0;
    if (lead < 0x80) {
        out = lead;
        return 1;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2, out = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, out = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, out = lead & 0x07, minimum = 0x10000;
    } else {
        return 0;
    }
    if (i + length > s.size()) return 0;
    for (size_t k = 1; k < length; ++k) {
        if ((b(i + k) & 0xC0) != 0x80) return 0;
        out = (out << 6) | (b(i + k) & 0x3F);
    }
    if (out < minimum || out > 0x10FFFF || (out >= 0xD800 && out <= 0xDFFF)) return 0;
    return length;
}

bool isWhitespaceOrNewline(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

}  // namespace

bool isValidUTF8(std::string_view bytes) {
    char32_t scalar = 0;
    for (size_t i = 0; i < bytes.size();) {
        const size_t length = decodeScalar(bytes, i, scalar);
        if (length == 0) return false;
        i += length;
    }
    return true;
}

std::string trimWhitespaceAndNewlines(std::string_view text) {
    size_t begin = 0;
    size_t end = text.size();
    char32_t scalar = 0;
    while (begin < end) {
        const size_t length = decodeScalar(text, begin, scalar);
        if (length == 0 || !isWhitespaceOrNewline(scalar)) break;
        begin += length;
    }
    while (end > begin) {
        size_t start = end - 1;
        while (start > begin && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
        const size_t length = decodeScalar(text, start, scalar);
        if (length != end - start || !isWhitespaceOrNewline(scalar)) break;
        end = start;
    }
    return std::string(text.substr(begin, end - begin));
}

bool containsNulOrLineBreak(std::string_view text) {
    char32_t scalar = 0;
    for (size_t i = 0; i < text.size();) {
        const size_t length = decodeScalar(text, i, scalar);
        if (length == 0) return false;
        if (scalar == 0 || (scalar >= 0x0A && scalar <= 0x0D) || scalar == 0x85 ||
            scalar == 0x2028 || scalar == 0x2029) {
            return true;
        }
        i += length;
    }
    return false;
}

size_t utf16Length(std::string_view text) {
    size_t units = 0;
    char32_t scalar = 0;
    for (size_t i = 0; i < text.size();) {
        const size_t length = decodeScalar(text, i, scalar);
        if (length == 0) return units + (text.size() - i);
        units += scalar >= 0x10000 ? 2 : 1;
        i += length;
    }
    return units;
}

bool containsControlCharacter(std::string_view text) {
    char32_t scalar = 0;
    for (size_t i = 0; i < text.size();) {
        const size_t length = decodeScalar(text, i, scalar);
        if (length == 0) return true;
        const int8_t type = u_charType(static_cast<UChar32>(scalar));
        if (type == U_CONTROL_CHAR || type == U_FORMAT_CHAR) return true;
        i += length;
    }
    return false;
}

std::optional<std::string> readUTF8File(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad() || !isValidUTF8(bytes)) return std::nullopt;
    return bytes;
}

std::optional<std::string> readTrimmedSetting(const std::filesystem::path& path) {
    auto text = readUTF8File(path);
    if (!text) return std::nullopt;
    return trimWhitespaceAndNewlines(*text);
}

size_t unicodeScalarCount(std::string_view utf8) {
    size_t count = 0;
    char32_t scalar = 0;
    for (size_t i = 0; i < utf8.size(); ++count) {
        const size_t length = decodeScalar(utf8, i, scalar);
        i += length == 0 ? 1 : length;
    }
    return count;
}

}  // namespace brisel
