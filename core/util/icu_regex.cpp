#include "util/icu_regex.h"

#include <unicode/uregex.h>

#include <memory>

namespace brisel {

namespace {

struct RegexCloser {
    void operator()(URegularExpression* regex) const { uregex_close(regex); }
};

}  // namespace

IcuRegex::IcuRegex(std::u16string_view pattern) {
    if (pattern.size() > static_cast<size_t>(INT32_MAX)) return;
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    URegularExpression* regex = uregex_open(pattern.data(), static_cast<int32_t>(pattern.size()), 0, &where, &status);
    if (U_FAILURE(status)) {
        uregex_close(regex);
        return;
    }
    regex_ = regex;
}

IcuRegex::~IcuRegex() { uregex_close(regex_); }

std::optional<RegexMatch> IcuRegex::firstMatch(std::u16string_view text) const {
    if (regex_ == nullptr || text.size() > static_cast<size_t>(INT32_MAX)) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<URegularExpression, RegexCloser> search(uregex_clone(regex_, &status));
    if (U_FAILURE(status)) return std::nullopt;
    uregex_setText(search.get(), text.data(), static_cast<int32_t>(text.size()), &status);
    if (U_FAILURE(status) || !uregex_findNext(search.get(), &status) || U_FAILURE(status)) return std::nullopt;

    const int32_t groups = uregex_groupCount(search.get(), &status);
    if (U_FAILURE(status)) return std::nullopt;
    RegexMatch match(static_cast<size_t>(groups) + 1);
    for (int32_t group = 0; group <= groups; ++group) {
        const int32_t start = uregex_start(search.get(), group, &status);
        const int32_t end = uregex_end(search.get(), group, &status);
        if (U_FAILURE(status)) return std::nullopt;
        if (start >= 0 && end >= start) match[static_cast<size_t>(group)] = RegexSpan{start, end};
    }
    return match;
}

}  // namespace brisel
