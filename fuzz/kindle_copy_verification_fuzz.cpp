// The clipboard holds whatever another program wrote: copy verification must answer as ICU does
// running both patterns literally over the whole text (when ICU finishes within its time limit).
#include <unicode/normalizer2.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>

#include "capture/kindle_copy_verification.h"
#include "fuzz_check.h"
#include "util/text.h"

namespace {

using brisel::VerifiedKindleCopy;
using brisel::fuzz::require;

const icu::RegexPattern* compiled(const char16_t* pattern) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::RegexPattern* result = icu::RegexPattern::compile(icu::UnicodeString(pattern), 0, status);
    require(U_SUCCESS(status), "a pattern compiles");
    return result;
}

std::string utf8(const icu::UnicodeString& text) { std::string bytes; return text.toUTF8String(bytes); }

// The copy as the rule reads literally, or nullopt inside when ICU gave up (time or stack limit).
std::optional<std::optional<VerifiedKindleCopy>> literalAnswer(std::string_view raw) {
    static const icu::RegexPattern* const blankLine = compiled(u"\n[ \t\u3000]*\n");
    static const icu::RegexPattern* const citationLine = compiled(
        uR"(^([\p{L}\p{M}\p{N}][\p{L}\p{M}\p{N} ,'’・·-]{0,159})\. +([^\r\n]{1,600}?) +\((p{1,2}\.) *([0-9]{1,7}(?: *[-–—] *[0-9]{1,7})?)\)\. +(?:\([^()\r\n]{1,160}\)\. +)?Kindle Edition\.$)");
    if (!brisel::isValidUTF8(raw)) return std::optional<VerifiedKindleCopy>{};

    icu::UnicodeString normalized = icu::UnicodeString::fromUTF8(brisel::trimWhitespaceAndNewlines(raw));
    normalized.findAndReplace(icu::UnicodeString(u"\r\n"), icu::UnicodeString(u"\n"));
    normalized.findAndReplace(icu::UnicodeString(u"\r"), icu::UnicodeString(u"\n"));
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> blanks(blankLine->matcher(normalized, status));
    int32_t start = -1, end = -1;
    while (blanks->find(status)) {  // the last blank line
        start = blanks->start(status);
        end = blanks->end(status);
    }
    require(U_SUCCESS(status), "the blank-line search runs");
    const std::string text = brisel::trimWhitespaceAndNewlines(utf8(normalized.tempSubString(0, std::max(start, 0))));
    if (start < 0 || text.empty()) return std::optional<VerifiedKindleCopy>{};

    const icu::UnicodeString citation = icu::Normalizer2::getNFKCInstance(status)->normalize(
        icu::UnicodeString::fromUTF8(brisel::trimWhitespaceAndNewlines(utf8(normalized.tempSubString(end)))), status);
    require(U_SUCCESS(status), "NFKC runs");
    std::unique_ptr<icu::RegexMatcher> matcher(citationLine->matcher(citation, status));
    matcher->setTimeLimit(20, status);
    const bool found = matcher->find(status);
    if (status == U_REGEX_TIME_OUT || status == U_REGEX_STACK_OVERFLOW) return std::nullopt;
    require(U_SUCCESS(status), "the citation match runs");
    if (!found || matcher->end(status) - matcher->start(status) != citation.length()) {
        return std::optional<VerifiedKindleCopy>{};
    }
    return VerifiedKindleCopy{text, brisel::trimWhitespaceAndNewlines(utf8(matcher->group(2, status))),
                              utf8(matcher->group(3, status)) + " " + utf8(matcher->group(4, status))};
}

// A citation-shaped text with its slots filled ("|" moves on), so that mutations explore near misses
// of Kindle's shape: ICU is not instrumented and gives the fuzzer no guidance.
std::string kindleShaped(std::string_view slots) {
    static constexpr std::string_view glue[] = {"\n\n", ". ", " (", "). ", "Kindle Edition."};
    std::string raw;
    size_t next = 0;
    for (char c : slots) raw += c == '|' && next < std::size(glue) ? glue[next++] : std::string_view(&c, 1);
    while (next < std::size(glue)) raw += glue[next++];
    return raw;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string_view rest = brisel::fuzz::text(data + 1, size - 1);
    const std::string raw = data[0] & 1 ? kindleShaped(rest) : std::string(rest);
    const auto copy = brisel::verifiedKindleCopy(raw);
    require(!copy || (brisel::isValidUTF8(raw) && !copy->text.empty() && copy->text.find('\r') == std::string::npos &&
                      brisel::trimWhitespaceAndNewlines(copy->text) == copy->text &&
                      brisel::trimWhitespaceAndNewlines(copy->title) == copy->title),
            "an accepted copy is UTF-8, with a trimmed passage of line feeds only and a trimmed title");
    const auto literal = literalAnswer(raw);
    require(!literal || *literal == copy, "the answer is the literal one");
    return 0;
}
