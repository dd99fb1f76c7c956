#include "auth/auth_origin.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

TEST(BriselAuthOriginHosts, OnlyRealHostsMakeAnOrigin) {
    EXPECT_TRUE(BriselAuthOrigin::fromURL("https://checkout.stripe.com/"));
    EXPECT_TRUE(BriselAuthOrigin::fromURL("https://192.0.2.1:8443/"));
    EXPECT_EQ(BriselAuthOrigin::fromURL("https://[2001:DB8::1]:8443/")->string(), "https://[2001:db8::1]:8443");
    EXPECT_TRUE(BriselAuthOrigin::fromURL("https://xn--eckwd4c7c.xn--zckzah/"));
    for (const char* refused : {"https://u:s:/", "https://a b/", "https://a\tb/", "https://[]/", "https://[::1/",
                                "https://a[b/", "https://a\"b/", "https://a<b>/", "https://a\\b/", "https://a|b/"}) {
        EXPECT_EQ(BriselAuthOrigin::fromURL(refused), std::nullopt) << refused;
    }
}

TEST(BriselAuthOriginHosts, AnOriginReadsBackFromItsOwnText) {
    for (const char* url : {"https://Example.com:8443/a", "https://example.com:443/", "https://[::1]/",
                            "https://a-b_c~d.example/", "https://a%41.example/", "http://127.0.0.1:47831/x"}) {
        const auto origin = BriselAuthOrigin::fromURL(url);
        ASSERT_TRUE(origin) << url;
        EXPECT_EQ(BriselAuthOrigin::fromURL(origin->string()), origin) << url;
    }
}

}  // namespace
}  // namespace brisel
