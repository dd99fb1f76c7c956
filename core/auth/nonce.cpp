#include "auth/nonce.h"

#include <algorithm>

namespace brisel {

bool isRawNonce(std::string_view nonce) {
    return nonce.size() == rawNonceLength && std::ranges::all_of(nonce, [](char c) {
               return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
                      c == '-';
           });
}

std::string lowercaseHex(const Sha256Digest& digest) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(digest.size() * 2);
    for (const uint8_t byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0f];
    }
    return text;
}

std::string hashedNonce(std::string_view rawNonce, const Sha256Function& sha256) {
    return lowercaseHex(sha256(rawNonce));
}

}  // namespace brisel
