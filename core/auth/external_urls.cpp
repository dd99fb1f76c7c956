#include "auth/external_urls.h"

#include <optional>

#include "auth/auth_configuration.h"
#include "net/url.h"

namespace brisel {

namespace {

// ASCII only, whatever locale the shell has set.
bool isAlphanumeric(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Only what an address may hold as written: printable ASCII without spaces, quotes or angle
// brackets, escapes complete, one fragment at most. Anything else is a page trying its luck,
// and refusing it keeps the browser from guessing what we meant.
bool isURLText(std::string_view url) {
    static constexpr std::string_view punctuation = "-._~:/?#@!$&'()*+,;=%";
    bool seenFragment = false;
    for (size_t i = 0; i < url.size(); ++i) {
        const char c = url[i];
        if (isAlphanumeric(c)) continue;
        if (punctuation.find(c) == std::string_view::npos) return false;
        if (c == '%' && (i + 2 >= url.size() || !isHexDigit(url[i + 1]) || !isHexDigit(url[i + 2]))) return false;
        if (c == '#') {
            if (seenFragment) return false;
            seenFragment = true;
        }
    }
    return true;
}

struct Address {
    URLParts parts;
    std::string_view authority;
    std::string_view path;
    std::optional<std::string_view> query;
    std::optional<std::string_view> fragment;
};

// An absolute "scheme://authority/path?query#fragment" address taken apart; absent for any
// other shape.
std::optional<Address> splitAddress(std::string_view url) {
    if (!isURLText(url)) return std::nullopt;
    auto parts = parseURL(url);
    if (!parts || !parts->host) return std::nullopt;
    Address address{std::move(*parts), {}, {}, {}, {}};
    std::string_view rest = url.substr(url.find("://") + 3);
    const size_t authorityEnd = rest.find_first_of("/?#");
    address.authority = rest.substr(0, authorityEnd);
    rest = authorityEnd == std::string_view::npos ? std::string_view() : rest.substr(authorityEnd);
    if (const size_t hash = rest.find('#'); hash != std::string_view::npos) {
        address.fragment = rest.substr(hash + 1);
        rest = rest.substr(0, hash);
    }
    if (const size_t question = rest.find('?'); question != std::string_view::npos) {
        address.query = rest.substr(question + 1);
        rest = rest.substr(0, question);
    }
    address.path = rest;
    return address;
}

}  // namespace

bool isSignInURL(std::string_view url) {
    if (url.size() > maximumSignInURLLength) return false;
    const auto address = splitAddress(url);
    if (!address) return false;
    // An authority of the bare host name leaves no room for a user, a password or any port,
    // even ":443" or an empty one.
    return address->parts.scheme == "https" && address->authority == authenticationHost &&
           address->path == "/" && !address->query && address->fragment &&
           address->fragment->starts_with("desktop-connect=");
}

bool isBillingURL(std::string_view url) {
    if (url == appStoreSubscriptionsURL()) return true;
    const auto address = splitAddress(url);
    if (!address || address->parts.scheme != "https" || address->parts.hasUserInfo) return false;
    const std::string& host = *address->parts.host;
    if (host != billingCheckoutHost && host != billingPortalHost) return false;
    // The port may be written out only as 443; an empty one ("host:") is not a port at all.
    return address->authority == host || address->parts.port == 443;
}

std::string appStoreSubscriptionsURL() {
    return "https://" + std::string(appStoreHost) + std::string(appStoreSubscriptionsPath);
}

}  // namespace brisel
