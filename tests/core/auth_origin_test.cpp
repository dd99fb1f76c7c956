#include "auth/auth_origin.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

TEST(BriselAuthOrigin, IsAnyHttpsHostOrTheLocalPageReadsBackFromItsTextAndMatchesWebKitsOrigin) {
    // Each URL with the text of the origin it makes, or null when it makes none.
    const struct { const char *url, *origin, *why; } rows[] = {
        {"http://127.0.0.1:47831/app?x=1", "http://127.0.0.1:47831", "the local page"},
        {"HTTP://127.0.0.1:47831", "http://127.0.0.1:47831", "the scheme is lower-cased"},
        {"http://127.0.0.1/", nullptr, "the local page needs its port"},
        {"http://localhost:47831/", nullptr, "another name for the loopback"},
        {"file:///tmp/x", nullptr, "no host"},
        {"http://user@127.0.0.1:47831/", nullptr, "a user name"},
        {"https://Checkout.Example.com/pay", "https://checkout.example.com", "https on 443 hides its port"},
        {"https://example.com:8443/x", "https://example.com:8443", "another port shows"},
        {"https://example.com:65535/", "https://example.com:65535", "the largest port"},
        {"https://example.com:65536/", nullptr, "one past the largest port"},
        {"https://example.com:4a3/", nullptr, "a port that is no number"},
        {"https:///path", nullptr, "an empty host"},
        {"https://[2001:DB8::1]:8443/", "https://[2001:db8::1]:8443", "an IPv6 literal"},
        {"https://[::1/", nullptr, "an open bracket"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const auto origin = BriselAuthOrigin::fromURL(row.url);
        ASSERT_EQ(origin.has_value(), row.origin != nullptr);
        if (!origin) continue;
        EXPECT_EQ(origin->string(), row.origin);
        EXPECT_EQ(BriselAuthOrigin::fromURL(origin->string()), origin);
    }
    EXPECT_EQ(BriselAuthOrigin::fromURL("http://127.0.0.1:51234/", 51234)->port, 51234) << "a test's own port";
    const BriselAuthOrigin local{"http", "127.0.0.1", 47831}, secure{"https", "example.com", 443};
    EXPECT_TRUE(local.matches({"http", "127.0.0.1", 47831}));
    EXPECT_FALSE(local.matches({"HTTP", "127.0.0.1", 47831})) << "the protocol is not lower-cased";
    EXPECT_FALSE(local.matches({"http", "127.0.0.1", 0})) << "port 0 is 80 for http";
    EXPECT_TRUE((BriselAuthOrigin{"http", "127.0.0.1", 80}).matches({"http", "127.0.0.1", 0}));
    EXPECT_TRUE(secure.matches({"https", "EXAMPLE.com", 0})) << "the host is; 0 is 443 for https";
    EXPECT_FALSE(secure.matches({"https", "example.com", 8443}));
    EXPECT_FALSE(secure.matches({"https", "example.org", 443}));
}

}  // namespace
}  // namespace brisel
