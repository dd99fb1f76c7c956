// URLs reach the origin and browser-opening tests straight from the page: what passes is what they promise.
#include <string>

#include "auth/auth_configuration.h"
#include "auth/auth_origin.h"
#include "auth/external_urls.h"
#include "fuzz_check.h"

using brisel::BriselAuthOrigin;
using brisel::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string url(brisel::fuzz::text(data, size));
    for (const int64_t localPort : {brisel::defaultLocalPort, int64_t{51234}}) {
        const auto origin = BriselAuthOrigin::fromURL(url, localPort);
        if (!origin) continue;
        require(origin->scheme == "https" ||
                    (origin->scheme == "http" && origin->host == "127.0.0.1" && origin->port == localPort),
                "only https or the local page's own origin");
        require(!origin->host.empty() && BriselAuthOrigin::fromURL(origin->string(), localPort) == origin,
                "a host, and its text names the same origin");
        require(origin->port == 0 || origin->matches({origin->scheme, origin->host, origin->port}),
                "WebKit reporting it back is a match");
    }
    if (brisel::isSignInURL(url)) {
        require(url.size() <= brisel::maximumSignInURLLength &&
                    url.starts_with("https://" + std::string(brisel::authenticationHost) + "/#desktop-connect="),
                "the sign-in page");
        require(BriselAuthOrigin::fromURL(url) == BriselAuthOrigin{"https", std::string(brisel::authenticationHost), 443},
                "the sign-in host");
    }
    if (brisel::isBillingURL(url)) {
        const auto origin = BriselAuthOrigin::fromURL(url);
        require(origin && origin->scheme == "https" && origin->port == 443, "billing over https");
        require(origin->host == brisel::billingCheckoutHost || origin->host == brisel::billingPortalHost ||
                    url == brisel::appStoreSubscriptionsURL(),
                "a billing host");
    }
    return 0;
}
