#include "net/url.h"

#include <cctype>

namespace brisel {

namespace {

bool isSchemeCharacter(char c, bool first) {
    const auto u = static_cast<unsigned char>(c);
    return std::isalpha(u) || (!first && (std::isdigit(u) || c == '+' || c == '-' || c == '.'));
}

}  // namespace

std::string asciiLowercase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

std::optional<URLParts> parseURL(std::string_view url) {
    const size_t colon = url.find(':');
    if (colon == std::string_view::npos || colon == 0) return std::nullopt;
    for (size_t i = 0; i < colon; ++i) {
        if (!isSchemeCharacter(url[i], i == 0)) return std::nullopt;
    }
    URLParts parts;
    parts.scheme = std::string(url.substr(0, colon));
    std::string_view rest = url.substr(colon + 1);
    if (rest.substr(0, 2) != "//") {
        parts.rest = std::string(rest);
        return parts;
    }
    rest.remove_prefix(2);
    const size_t authorityEnd = rest.find_first_of("/?#");
    std::string_view authority = rest.substr(0, authorityEnd);
    parts.rest = authorityEnd == std::string_view::npos ? "" : std::string(rest.substr(authorityEnd));

    if (const size_t at = authority.rfind('@'); at != std::string_view::npos) {
        parts.hasUserInfo = true;
        authority.remove_prefix(at + 1);
    }
    std::string_view host = authority;
    std::string_view port;
    if (!authority.empty() && authority.front() == '[') {
        const size_t close = authority.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        host = authority.substr(0, close + 1);
        const std::string_view after = authority.substr(close + 1);
        if (!after.empty()) {
            if (after.front() != ':') return std::nullopt;
            port = after.substr(1);
        }
    } else if (const size_t portColon = authority.rfind(':'); portColon != std::string_view::npos) {
        host = authority.substr(0, portColon);
        port = authority.substr(portColon + 1);
    }
    if (!port.empty()) {
        int64_t value = 0;
        for (char c : port) {
            if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
            value = value * 10 + (c - '0');
            if (value > 65535) return std::nullopt;
        }
        parts.port = value;
    }
    parts.host = std::string(host);
    return parts;
}

}  // namespace brisel
