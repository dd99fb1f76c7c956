#include "auth/auth_origin.h"

#include "net/url.h"

namespace brisel {

std::optional<BriselAuthOrigin> BriselAuthOrigin::fromURL(std::string_view url, int64_t localPort) {
    const auto parts = parseURL(url);
    if (!parts || !parts->host || parts->host->empty() || parts->hasUserInfo) return std::nullopt;
    BriselAuthOrigin origin{asciiLowercase(parts->scheme), asciiLowercase(*parts->host), 0};
    if (origin.scheme == "https") {
        origin.port = parts->port.value_or(443);
        return origin;
    }
    if (origin.scheme != "http" || origin.host != "127.0.0.1" || parts->port != localPort) {
        return std::nullopt;
    }
    origin.port = localPort;
    return origin;
}

bool BriselAuthOrigin::matches(const SecurityOrigin& origin) const {
    const int64_t effectivePort =
        origin.port != 0 ? origin.port : (origin.protocol == "https" ? 443 : 80);
    return origin.protocol == scheme && asciiLowercase(origin.host) == host && effectivePort == port;
}

std::string BriselAuthOrigin::string() const {
    std::string text = scheme + "://" + host;
    if (!(scheme == "https" && port == 443)) text += ":" + std::to_string(port);
    return text;
}

}  // namespace brisel
