// The macOS SHA-256; sha256_openssl.cpp serves every other platform.
#if defined(__APPLE__)

#include "auth/sha256.h"

#include <CommonCrypto/CommonDigest.h>

#include <algorithm>
#include <limits>

namespace brisel {

Sha256Digest platformSha256(std::string_view bytes) {
    static_assert(CC_SHA256_DIGEST_LENGTH == std::tuple_size_v<Sha256Digest>);
    Sha256Digest digest{};
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    // CC_LONG is 32 bits; feed longer inputs in pieces.
    while (!bytes.empty()) {
        const size_t piece = std::min<size_t>(bytes.size(), std::numeric_limits<CC_LONG>::max());
        CC_SHA256_Update(&context, bytes.data(), static_cast<CC_LONG>(piece));
        bytes.remove_prefix(piece);
    }
    CC_SHA256_Final(digest.data(), &context);
    return digest;
}

}  // namespace brisel

#endif
