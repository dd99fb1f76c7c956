#pragma once

#include <string>
#include <string_view>

#include "auth/sha256.h"

namespace brisel {

// The raw nonce the page sends with an Apple request: 43 characters of URL-safe base64, the
// unpadded text of 32 random bytes. Nothing else, not even a trailing line break.
inline constexpr size_t rawNonceLength = 43;
bool isRawNonce(std::string_view nonce);

// Lower-case hexadecimal, two digits a byte, nothing between them.
std::string lowercaseHex(const Sha256Digest& digest);

// What Apple receives in place of the raw nonce: its SHA-256 as 64 lower-case hex digits. The
// identity token then carries this hash, and only the page knows the nonce behind it.
std::string hashedNonce(std::string_view rawNonce, const Sha256Function& sha256);

}  // namespace brisel
