#include "export/base64.h"

#include <array>
#include <bit>
#include <cstring>

namespace brisel {

namespace {

constexpr std::uint8_t invalidValue = 0xFF;
constexpr std::uint32_t invalidWord = 0x01FFFFFF;  // bit 24 marks a bad character

constexpr std::array<std::uint8_t, 256> makeValues() {
    std::array<std::uint8_t, 256> values{};
    for (auto& value : values) value = invalidValue;
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::uint8_t i = 0; i < 64; ++i) values[static_cast<unsigned char>(alphabet[i])] = i;
    return values;
}

constexpr std::array<std::uint8_t, 256> values = makeValues();

// One table per position in a group of four: each puts its six bits where they land in the
// three output bytes (first byte lowest), so a group decodes with four loads and three ORs.
// Any bad character sets bit 24, which no good group ever has.
template <int position>
constexpr std::array<std::uint32_t, 256> makeTable() {
    std::array<std::uint32_t, 256> table{};
    for (int c = 0; c < 256; ++c) {
        const std::uint32_t v = values[c];
        if (v == invalidValue) {
            table[c] = invalidWord;
        } else if constexpr (position == 0) {
            table[c] = v << 2;
        } else if constexpr (position == 1) {
            table[c] = (v >> 4) | ((v & 0x0F) << 12);
        } else if constexpr (position == 2) {
            table[c] = ((v >> 2) << 8) | ((v & 0x03) << 22);
        } else {
            table[c] = v << 16;
        }
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> table0 = makeTable<0>();
constexpr std::array<std::uint32_t, 256> table1 = makeTable<1>();
constexpr std::array<std::uint32_t, 256> table2 = makeTable<2>();
constexpr std::array<std::uint32_t, 256> table3 = makeTable<3>();

inline std::uint32_t group(const unsigned char* in) {
    return table0[in[0]] | table1[in[1]] | table2[in[2]] | table3[in[3]];
}

inline void storeGroup(std::uint8_t* out, std::uint32_t word) {
    out[0] = static_cast<std::uint8_t>(word);
    out[1] = static_cast<std::uint8_t>(word >> 8);
    out[2] = static_cast<std::uint8_t>(word >> 16);
}

// Decodes `groups` whole groups of four without padding; false at the first bad character
// (checked per block, so a bad text stops early without a branch per group).
bool decodeGroups(const unsigned char* in, std::size_t groups, std::uint8_t* out, std::size_t outputRoom) {
    constexpr std::size_t blockGroups = 4096;
    std::size_t done = 0;
    while (done < groups) {
        const std::size_t end = std::min(groups, done + blockGroups);
        std::uint32_t bad = 0;
        std::size_t g = done;
        if constexpr (std::endian::native == std::endian::little) {
            // Four groups per step, written as two overlapping 8-byte stores; each store's two
            // spare bytes are overwritten by the next, so it needs 2 bytes of room past the 12.
            for (; g + 4 <= end && g * 3 + 14 <= outputRoom; g += 4) {
                const unsigned char* s = in + g * 4;
                const std::uint32_t a = group(s);
                const std::uint32_t b = group(s + 4);
                const std::uint32_t c = group(s + 8);
                const std::uint32_t d = group(s + 12);
                bad |= a | b | c | d;
                const std::uint64_t first = a | (static_cast<std::uint64_t>(b) << 24);
                const std::uint64_t second = c | (static_cast<std::uint64_t>(d) << 24);
                std::memcpy(out + g * 3, &first, 8);
                std::memcpy(out + g * 3 + 6, &second, 8);
            }
        }
        for (; g < end; ++g) {
            const std::uint32_t word = group(in + g * 4);
            bad |= word;
            storeGroup(out + g * 3, word);
        }
        if (bad >> 24) return false;
        done = end;
    }
    return true;
}

}  // namespace

std::optional<std::size_t> base64DecodedSize(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::size_t size = text.size() / 4 * 3;
    if (!text.empty() && text.back() == '=') {
        --size;
        if (text[text.size() - 2] == '=') --size;
    }
    return size;
}

std::optional<ByteBuffer> decodeBase64(std::string_view text) {
    const auto size = base64DecodedSize(text);
    if (!size) return std::nullopt;
    ByteBuffer bytes;
    if (*size == 0) return bytes;
    bytes.reserve(*size);
    bytes.resize(*size);

    const auto* in = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t groups = text.size() / 4;
    if (!decodeGroups(in, groups - 1, bytes.data(), *size)) return std::nullopt;

    // The last group may carry padding: "xx==" is one byte, "xxx=" two. The bits the padding
    // leaves over must be zero, so every archive has exactly one spelling.
    const unsigned char* last = in + (groups - 1) * 4;
    std::uint8_t* out = bytes.data() + (groups - 1) * 3;
    const std::uint8_t v0 = values[last[0]];
    const std::uint8_t v1 = values[last[1]];
    if (v0 == invalidValue || v1 == invalidValue) return std::nullopt;
    if (last[3] != '=') {
        const std::uint32_t word = group(last);
        if (word >> 24) return std::nullopt;
        storeGroup(out, word);
    } else if (last[2] == '=') {
        if (v1 & 0x0F) return std::nullopt;
        out[0] = static_cast<std::uint8_t>((v0 << 2) | (v1 >> 4));
    } else {
        const std::uint8_t v2 = values[last[2]];
        if (v2 == invalidValue || (v2 & 0x03)) return std::nullopt;
        out[0] = static_cast<std::uint8_t>((v0 << 2) | (v1 >> 4));
        out[1] = static_cast<std::uint8_t>((v1 << 4) | (v2 >> 2));
    }
    return bytes;
}

}  // namespace brisel
