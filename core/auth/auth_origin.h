#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brisel {

inline constexpr int64_t defaultLocalPort = 47831;

// A frame's security origin as WebKit reports it; port 0 is WebKit's "default port".
struct SecurityOrigin {
    std::string protocol;
    std::string host;
    int64_t port = 0;
};

// A web origin that may talk to the native side: any https origin, or the local page's own
// http origin on 127.0.0.1 and the local port. Nothing else can be built, nor anything whose
// host is not a host name, an IPv4 address or a bracketed IPv6 literal.
struct BriselAuthOrigin {
    std::string scheme;
    std::string host;
    int64_t port = 0;

    static std::optional<BriselAuthOrigin> fromURL(std::string_view url,
                                                   int64_t localPort = defaultLocalPort);

    // The protocol is compared as reported, without lower-casing: an upper-case "HTTP" from
    // WebKit is not the origin we trust.
    bool matches(const SecurityOrigin& origin) const;

    // The page's own `window.location.origin` text; only https hides its default port.
    std::string string() const;

    bool operator==(const BriselAuthOrigin&) const = default;
};

}  // namespace brisel
