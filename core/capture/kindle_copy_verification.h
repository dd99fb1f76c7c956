#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brisel {

// A passage copied by Kindle's own "Copy", proven by the citation Kindle appends to it. UTF-8.
struct VerifiedKindleCopy {
    std::string text;     // the passage, trimmed; never empty
    std::string title;    // the book title from the citation, trimmed
    std::string chapter;  // the page locator as "p. 12" or "pp. 12-14" (the name is historical)

    bool operator==(const VerifiedKindleCopy&) const = default;
};

// The passage with its title and page when `raw` (the clipboard's plain text) is a passage, a
// blank line and Kindle's citation line; nothing for anything else, bytes that are not UTF-8
// included. Pure and callable from any thread. The 240-character limit is the caller's to apply.
std::optional<VerifiedKindleCopy> verifiedKindleCopy(std::string_view raw);

}  // namespace brisel
