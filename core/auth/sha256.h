#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>

namespace brisel {

using Sha256Digest = std::array<uint8_t, 32>;

// A SHA-256 of some bytes. The bridge takes it as a value so tests and shells can choose.
using Sha256Function = std::function<Sha256Digest(std::string_view bytes)>;

// The system's own SHA-256: CommonCrypto on macOS, OpenSSL's libcrypto elsewhere.
Sha256Digest platformSha256(std::string_view bytes);

}  // namespace brisel
