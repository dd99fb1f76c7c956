#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brisel {

// The parts of an absolute URL that origins are made of. Scheme and host keep their case.
struct URLParts {
    std::string scheme;
    std::optional<std::string> host;  // present for "scheme://authority" URLs, possibly empty
    bool hasUserInfo = false;
    std::optional<int64_t> port;      // only an explicit, non-empty port
    std::string rest;                 // path, query and fragment
};

// Absent when the text has no valid scheme or its port is not a number below 65536.
std::optional<URLParts> parseURL(std::string_view url);

std::string asciiLowercase(std::string_view text);

}  // namespace brisel
