// Built on every platform but macOS, where sha256_commoncrypto.cpp takes its place; the guard
// keeps the Mac type-check of core quiet about a header its SDK lacks.
#if !defined(__APPLE__)

#include "auth/sha256.h"

#include <openssl/evp.h>

#include <cstdlib>

namespace brisel {

Sha256Digest platformSha256(std::string_view bytes) {
    Sha256Digest digest{};
    unsigned int length = 0;
    // EVP_Digest fails only when libcrypto itself is broken; a wrong hash would be worse than
    // stopping.
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1 ||
        length != digest.size()) {
        std::abort();
    }
    return digest;
}

}  // namespace brisel

#endif
