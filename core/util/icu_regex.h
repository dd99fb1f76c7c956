#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

struct URegularExpression;

namespace brisel {

// Where a match or one of its groups lies, in UTF-16 units of the searched text.
struct RegexSpan {
    int32_t start = 0;
    int32_t end = 0;
};

// The first match of a pattern: the whole match at index 0, then every group, absent where a
// group took no part.
using RegexMatch = std::vector<std::optional<RegexSpan>>;

// A regular expression in ICU's dialect, compiled once with no flags. It is never changed after
// compiling, so one instance may serve several threads: every search works on its own clone.
class IcuRegex {
public:
    explicit IcuRegex(std::u16string_view pattern);
    ~IcuRegex();
    IcuRegex(const IcuRegex&) = delete;
    IcuRegex& operator=(const IcuRegex&) = delete;

    bool compiled() const { return regex_ != nullptr; }

    // The first match in `text`; nothing when there is none, or the pattern did not compile.
    std::optional<RegexMatch> firstMatch(std::u16string_view text) const;

private:
    URegularExpression* regex_ = nullptr;
};

}  // namespace brisel
