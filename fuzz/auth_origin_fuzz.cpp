// URLs reach the origin test and the two browser-opening tests straight from page messages and
// the web view: whatever the bytes, they must not crash, and what they let through must be what
// they promise.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "auth/auth_configuration.h"
#include "auth/auth_origin.h"
#include "auth/external_urls.h"

namespace {

using brisel::BriselAuthOrigin;

void check(bool condition) {
    if (!condition) std::abort();
}

void checkOrigin(std::string_view url, int64_t localPort) {
    const auto origin = BriselAuthOrigin::fromURL(url, localPort);
    if (!origin) return;
    check(origin->scheme == "https" || (origin->scheme == "http" && origin->host == "127.0.0.1" &&
                                        origin->port == localPort));
    check(!origin->host.empty());
    // The text handed to page scripts names the very same origin.
    check(BriselAuthOrigin::fromURL(origin->string(), localPort) == origin);
    // And WebKit reporting that origin back is a match.
    if (origin->port != 0) check(origin->matches({origin->scheme, origin->host, origin->port}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string url(reinterpret_cast<const char*>(data), size);

    checkOrigin(url, brisel::defaultLocalPort);
    checkOrigin(url, 51234);

    if (brisel::isSignInURL(url)) {
        check(url.size() <= brisel::maximumSignInURLLength);
        check(url.starts_with("https://" + std::string(brisel::authenticationHost) + "/#desktop-connect="));
        check(BriselAuthOrigin::fromURL(url) ==
              (BriselAuthOrigin{"https", std::string(brisel::authenticationHost), 443}));
    }
    if (brisel::isBillingURL(url)) {
        const auto origin = BriselAuthOrigin::fromURL(url);
        check(origin && origin->scheme == "https" && origin->port == 443);
        check(origin->host == brisel::billingCheckoutHost || origin->host == brisel::billingPortalHost ||
              url == brisel::appStoreSubscriptionsURL());
    }
    return 0;
}
