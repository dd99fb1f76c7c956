#include "auth/nonce.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

TEST(AppleNonce, PlatformSha256MatchesTheKnownDigests) {
    EXPECT_EQ(lowercaseHex(platformSha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(lowercaseHex(platformSha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(AppleNonce, AppleGetsTheLowerCaseHexSha256OfTheRawNonce) {
    const std::string nonce(43, 'A');
    const std::string hashed = hashedNonce(nonce, platformSha256);
    EXPECT_EQ(hashed, "0f007385b6f9d4b7eeb2748605afe1a984a0a3bfa3f014d09e2a784ce9e5cd1a");
    EXPECT_EQ(hashed.size(), 64u);
    EXPECT_EQ(hashed.find_first_not_of("0123456789abcdef"), std::string::npos);
}

TEST(AppleNonce, HashesExactlyTheBytesItIsGiven) {
    std::string seen;
    const Sha256Function recording = [&](std::string_view bytes) {
        seen = bytes;
        return Sha256Digest{0x00, 0x0f, 0xa0, 0xff};
    };
    EXPECT_EQ(hashedNonce("nonce", recording), "000fa0ff" + std::string(56, '0'));
    EXPECT_EQ(seen, "nonce");
}

TEST(AppleNonce, RawNonceIs43UrlSafeBase64Characters) {
    EXPECT_TRUE(isRawNonce(std::string(43, 'A')));
    EXPECT_TRUE(isRawNonce("abcdefghijklmnopqrstuvwxyzABCDEFGHIJ0123_-9"));
    for (const std::string& refused : {
             std::string(42, 'A'),
             std::string(44, 'A'),
             std::string(),
             std::string(42, 'A') + "+",
             std::string(42, 'A') + "/",
             std::string(42, 'A') + "=",
             std::string(42, 'A') + ".",
             std::string(42, 'A') + " ",
             std::string(43, 'A') + "\n",  // no line break, not even a trailing one
             std::string(42, 'A') + "\n",
             std::string(41, 'A') + "\xC3\xA9",  // two bytes, one character
         }) {
        EXPECT_FALSE(isRawNonce(refused)) << refused;
    }
}

}  // namespace
}  // namespace brisel
