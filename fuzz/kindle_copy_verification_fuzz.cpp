// The clipboard holds whatever another program wrote. Copy verification must never crash or hang
// on it, what it accepts must be well formed, and its answer must be the one ICU gives when it runs
// both patterns step by step over the whole text (whenever ICU finishes that within its time limit).
#include <unicode/normalizer2.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "capture/kindle_copy_verification.h"
#include "util/text.h"

namespace {

using brisel::VerifiedKindleCopy;

void check(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "kindle copy verification: %s\n", what);
    std::abort();
}

const icu::RegexPattern* compiled(const char16_t* pattern) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    icu::RegexPattern* result = icu::RegexPattern::compile(icu::UnicodeString(pattern), 0, where, status);
    check(U_SUCCESS(status), "a pattern compiles");
    return result;
}

struct LiteralAnswer {
    bool decided = true;  // false when ICU hit its time or stack limit
    std::optional<VerifiedKindleCopy> copy;
};

// Every step as written, with no shortcut: ICU over UTF-16 for the blank lines and for the citation.
LiteralAnswer literalAnswer(std::string_view raw) {
    static const icu::RegexPattern* const blankLine = compiled(u"\n[ \t\u3000]*\n");
    static const icu::RegexPattern* const citationLine = compiled(
        uR"(^([\p{L}\p{M}\p{N}][\p{L}\p{M}\p{N} ,'’・·-]{0,159})\. +([^\r\n]{1,600}?) +\((p{1,2}\.) *([0-9]{1,7}(?: *[-–—] *[0-9]{1,7})?)\)\. +(?:\([^()\r\n]{1,160}\)\. +)?Kindle Edition\.$)");
    if (!brisel::isValidUTF8(raw)) return {};

    icu::UnicodeString normalized = icu::UnicodeString::fromUTF8(brisel::trimWhitespaceAndNewlines(raw));
    normalized.findAndReplace(icu::UnicodeString(u"\r\n"), icu::UnicodeString(u"\n"));
    normalized.findAndReplace(icu::UnicodeString(u"\r"), icu::UnicodeString(u"\n"));

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> blanks(blankLine->matcher(normalized, status));
    int32_t start = -1;
    int32_t end = -1;
    while (blanks->find(status)) {
        start = blanks->start(status);
        end = blanks->end(status);
    }
    check(U_SUCCESS(status), "the blank-line search runs");
    if (start < 0) return {};

    std::string before;
    std::string after;
    normalized.tempSubString(0, start).toUTF8String(before);
    normalized.tempSubString(end).toUTF8String(after);
    const std::string text = brisel::trimWhitespaceAndNewlines(before);
    const icu::UnicodeString citation = icu::Normalizer2::getNFKCInstance(status)->normalize(
        icu::UnicodeString::fromUTF8(brisel::trimWhitespaceAndNewlines(after)), status);
    check(U_SUCCESS(status), "NFKC runs");
    if (text.empty()) return {};

    std::unique_ptr<icu::RegexMatcher> matcher(citationLine->matcher(citation, status));
    matcher->setTimeLimit(20, status);
    const bool found = matcher->find(status);
    if (status == U_REGEX_TIME_OUT || status == U_REGEX_STACK_OVERFLOW) return {false, std::nullopt};
    check(U_SUCCESS(status), "the citation match runs");
    if (!found || matcher->end(status) - matcher->start(status) != citation.length()) return {};
    std::string title;
    std::string locator;
    std::string pages;
    matcher->group(2, status).toUTF8String(title);
    matcher->group(3, status).toUTF8String(locator);
    matcher->group(4, status).toUTF8String(pages);
    check(U_SUCCESS(status), "the groups are read");
    return {true, VerifiedKindleCopy{text, brisel::trimWhitespaceAndNewlines(title), locator + " " + pages}};
}

bool isPageLocator(std::string_view chapter) {
    for (std::string_view prefix : {"pp. ", "p. "}) {
        if (chapter.substr(0, prefix.size()) != prefix) continue;
        std::string_view pages = chapter.substr(prefix.size());
        if (pages.empty() || pages.front() < '0' || pages.front() > '9') return false;
        if (pages.back() < '0' || pages.back() > '9') return false;
        while (!pages.empty()) {
            if ((pages.front() >= '0' && pages.front() <= '9') || pages.front() == ' ' || pages.front() == '-') {
                pages.remove_prefix(1);
            } else if (pages.substr(0, 3) == "\u2013" || pages.substr(0, 3) == "\u2014") {
                pages.remove_prefix(3);
            } else {
                return false;
            }
        }
        return true;
    }
    return false;
}

void verify(std::string_view raw) {
    const auto copy = brisel::verifiedKindleCopy(raw);
    if (copy) {
        check(brisel::isValidUTF8(raw), "only UTF-8 is accepted");
        check(!copy->text.empty(), "the passage is not empty");
        check(brisel::isValidUTF8(copy->text) && brisel::isValidUTF8(copy->title) &&
                  brisel::isValidUTF8(copy->chapter),
              "every field is UTF-8");
        check(brisel::trimWhitespaceAndNewlines(copy->text) == copy->text, "the passage is trimmed");
        check(brisel::trimWhitespaceAndNewlines(copy->title) == copy->title, "the title is trimmed");
        check(copy->text.find('\r') == std::string::npos, "the passage has only line feeds");
        check(isPageLocator(copy->chapter), "the chapter is a page locator");
    }
    const LiteralAnswer literal = literalAnswer(raw);
    if (literal.decided && literal.copy != copy) {
        std::fprintf(stderr, "expected %s, got %s\n", literal.copy ? "a copy" : "nothing", copy ? "a copy" : "nothing");
        if (literal.copy && copy) {
            std::fprintf(stderr, "title [%s] vs [%s]\nchapter [%s] vs [%s]\n", literal.copy->title.c_str(),
                         copy->title.c_str(), literal.copy->chapter.c_str(), copy->chapter.c_str());
        }
        check(false, "the answer is the literal one");
    }
}

// Fills the slots of a citation-shaped text ("|" moves to the next slot), so that mutations explore
// near misses of Kindle's shape: ICU is not instrumented and gives the fuzzer no guidance there.
std::string kindleShaped(std::string_view slots) {
    static constexpr std::string_view glue[] = {"\n\n", ". ", " (", "). ", "Kindle Edition."};
    std::string raw;
    size_t next = 0;
    for (char c : slots) {
        if (c == '|' && next < std::size(glue)) {
            raw += glue[next++];
        } else {
            raw += c;
        }
    }
    while (next < std::size(glue)) raw += glue[next++];
    return raw;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (data[0] & 1) {
        verify(kindleShaped(rest));
    } else {
        verify(rest);
    }
    return 0;
}
