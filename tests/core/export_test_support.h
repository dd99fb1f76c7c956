#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace brisel::testing {

inline const std::string exportRequestId = "5F1B5C2E-6A1D-4C4B-9B7E-2F0C1D2E3F40";
inline const std::string exportFileName = "Brisel-20250101T093000Z.zip";

// Standard padded base64, written plainly so the decoder is checked against something else.
inline std::string encodeBase64(const std::string& bytes) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = uint8_t(bytes[i]) << 16;
        if (i + 1 < bytes.size()) group |= uint8_t(bytes[i + 1]) << 8;
        if (i + 2 < bytes.size()) group |= uint8_t(bytes[i + 2]);
        for (size_t j = 0; j < 4; ++j) text += i + j <= bytes.size() ? alphabet[(group >> (18 - 6 * j)) & 63] : '=';
    }
    return text;
}

// `size` (at least 26) varied bytes shaped like a ZIP archive as far as the export looks: a local
// file header first, an end-of-central-directory record exactly 22 bytes before the end.
inline std::string zipLikeArchive(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 2654435761u) >> 13);
    bytes.replace(0, 4, "PK\x03\x04", 4);
    bytes.replace(size - 22, 22, std::string("PK\x05\x06", 4) + std::string(18, '\0'));
    return bytes;
}

inline nlohmann::json exportBody(const std::string& base64, const std::string& requestId = exportRequestId,
                                 const std::string& filename = exportFileName) {
    return {{"action", "exportMarkdown"}, {"requestId", requestId}, {"filename", filename}, {"base64", base64}};
}

}  // namespace brisel::testing
