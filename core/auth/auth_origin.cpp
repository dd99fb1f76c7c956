#include "auth/auth_origin.h"

#include <algorithm>

#include "net/url.h"

namespace brisel {

namespace {

bool isHostCharacter(char c, std::string_view extra) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
           static_cast<unsigned char>(c) >= 0x80 || extra.find(c) != std::string_view::npos;
}

// A name, an IPv4 address or a bracketed IPv6 literal. Anything else ("u:s" from
// "https://u:s:/", spaces, control characters) is no host a web view could have loaded, and an
// origin made of it would not read back from its own text.
bool isHost(std::string_view host) {
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        const auto literal = host.substr(1, host.size() - 2);
        return std::ranges::all_of(literal, [](char c) { return isHostCharacter(c, ":.%-_~"); });
    }
    return std::ranges::all_of(host, [](char c) { return isHostCharacter(c, "-._~!$&'()*+,;=%"); });
}

}  // namespace

std::optional<BriselAuthOrigin> BriselAuthOrigin::fromURL(std::string_view url, int64_t localPort) {
    const auto parts = parseURL(url);
    if (!parts || !parts->host || parts->host->empty() || !isHost(*parts->host) || parts->hasUserInfo) {
        return std::nullopt;
    }
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
