#include "util/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unicode/uchar.h>

#include <cerrno>

namespace brisel {

namespace {

enum class Surrogates { refused, accepted };

// Decodes one scalar at `i`; returns its length, or 0 when the bytes there are not UTF-8. With
// `Surrogates::accepted`, the three-byte form of a surrogate code point decodes too.
size_t decodeScalar(std::string_view s, size_t i, char32_t& out, Surrogates surrogates = Surrogates::refused) {
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
    if (out < minimum || out > 0x10FFFF) return 0;
    if (out >= 0xD800 && out <= 0xDFFF && surrogates == Surrogates::refused) return 0;
    return length;
}

void appendUTF8(std::string& utf8, char32_t c) {
    if (c < 0x80) {
        utf8 += static_cast<char>(c);
    } else if (c < 0x800) {
        utf8 += static_cast<char>(0xC0 | (c >> 6));
        utf8 += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        utf8 += static_cast<char>(0xE0 | (c >> 12));
        utf8 += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        utf8 += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        utf8 += static_cast<char>(0xF0 | (c >> 18));
        utf8 += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        utf8 += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        utf8 += static_cast<char>(0x80 | (c & 0x3F));
    }
}

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

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
    // Non-blocking, so a pipe in the file's place cannot stall the open.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    bool readable = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    std::string bytes;
    char buffer[4096];
    while (readable) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            readable = n == 0;
            break;
        }
        bytes.append(buffer, static_cast<size_t>(n));
    }
    ::close(fd);
    if (!readable || !isValidUTF8(bytes)) return std::nullopt;
    return bytes;
}

std::optional<std::string> readTrimmedSetting(const std::filesystem::path& path) {
    auto text = readUTF8File(path);
    if (!text) return std::nullopt;
    return trimWhitespaceAndNewlines(*text);
}

std::string wtf8FromUTF16(std::u16string_view utf16) {
    std::string utf8;
    utf8.reserve(utf16.size());
    for (size_t i = 0; i < utf16.size(); ++i) {
        const char16_t unit = utf16[i];
        if (isHighSurrogate(unit) && i + 1 < utf16.size() && isLowSurrogate(utf16[i + 1])) {
            appendUTF8(utf8, 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (char32_t(utf16[++i]) - 0xDC00));
        } else {
            appendUTF8(utf8, unit);  // an unpaired surrogate too, in its own three bytes
        }
    }
    return utf8;
}

std::u16string utf16FromWTF8(std::string_view utf8) {
    std::u16string utf16;
    utf16.reserve(utf8.size());
    char32_t scalar = 0;
    for (size_t i = 0; i < utf8.size();) {
        const size_t length = decodeScalar(utf8, i, scalar, Surrogates::accepted);
        if (length == 0) {
            utf16 += u'\uFFFD';
            ++i;
            continue;
        }
        if (scalar >= 0x10000) {
            utf16 += static_cast<char16_t>(0xD800 + ((scalar - 0x10000) >> 10));
            utf16 += static_cast<char16_t>(0xDC00 + ((scalar - 0x10000) & 0x3FF));
        } else {
            utf16 += static_cast<char16_t>(scalar);
        }
        i += length;
    }
    return utf16;
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
