#include "capture/kindle_copy_verification.h"

#include <unicode/normalizer2.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "util/text.h"

namespace brisel {

namespace {

// Kindle's citation line, in ICU's dialect and exactly as the product has always matched it:
// author, title (shortest), page or page range, an optional parenthetical such as a series name.
constexpr char16_t kindleCitationPattern[] =
    uR"(^([\p{L}\p{M}\p{N}][\p{L}\p{M}\p{N} ,'’・·-]{0,159})\. +([^\r\n]{1,600}?) +\((p{1,2}\.) *([0-9]{1,7}(?: *[-–—] *[0-9]{1,7})?)\)\. +(?:\([^()\r\n]{1,160}\)\. +)?Kindle Edition\.$)";

// Compiled once and never destroyed, so a thread still verifying during exit is safe. A pattern
// is immutable and shared; every call makes its own matcher.
const icu::RegexPattern* citationPattern() {
    static const icu::RegexPattern* const pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        UParseError where;
        icu::RegexPattern* compiled =
            icu::RegexPattern::compile(icu::UnicodeString(kindleCitationPattern), 0, where, status);
        if (U_FAILURE(status)) {
            delete compiled;
            return static_cast<icu::RegexPattern*>(nullptr);
        }
        return compiled;
    }();
    return pattern;
}

// "\r\n" then every remaining "\r" become "\n", in place.
void normalizeLineEnds(std::string& text) {
    size_t out = text.find('\r');
    if (out == std::string::npos) return;
    for (size_t in = out; in < text.size(); ++in) {
        if (text[in] == '\r') {
            text[out++] = '\n';
            if (in + 1 < text.size() && text[in + 1] == '\n') ++in;
        } else {
            text[out++] = text[in];
        }
    }
    text.resize(out);
}

struct ByteRange {
    size_t begin = 0;
    size_t end = 0;
};

// The last match of the blank-line pattern "\n[ \t\u3000]*\n", found the way a regular-expression
// engine finds them all (leftmost, each search resuming after the previous match), but over the
// UTF-8 bytes: ICU would first need a UTF-16 copy of a passage that can be megabytes long, and its
// find loop alone takes milliseconds there. The match at a line break is unique (the blank run
// cannot give back a line break), and a failed try skips nothing but blanks.
std::optional<ByteRange> lastBlankLine(std::string_view text) {
    static constexpr std::string_view ideographicSpace = "\xE3\x80\x80";
    std::optional<ByteRange> last;
    size_t lineBreak = text.find('\n');
    while (lineBreak != std::string_view::npos) {
        size_t next = lineBreak + 1;
        while (next < text.size()) {
            if (text[next] == ' ' || text[next] == '\t') {
                ++next;
            } else if (text.substr(next, ideographicSpace.size()) == ideographicSpace) {
                next += ideographicSpace.size();
            } else {
                break;
            }
        }
        if (next < text.size() && text[next] == '\n') {
            last = ByteRange{lineBreak, next + 1};
            ++next;
        }
        lineBreak = text.find('\n', next);
    }
    return last;
}

// One UTF-8 to UTF-16 conversion; nothing when the bytes are not UTF-8.
std::optional<icu::UnicodeString> utf16(std::string_view utf8) {
    if (utf8.size() > static_cast<size_t>(INT32_MAX)) return std::nullopt;
    const auto length = static_cast<int32_t>(utf8.size());
    icu::UnicodeString result;
    if (length == 0) return result;
    char16_t* buffer = result.getBuffer(length);  // UTF-16 never needs more units than UTF-8 bytes
    if (buffer == nullptr) return std::nullopt;
    int32_t converted = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(buffer, length, &converted, utf8.data(), length, U_SENTINEL, nullptr, &status);
    result.releaseBuffer(U_SUCCESS(status) ? converted : 0);
    if (U_FAILURE(status)) return std::nullopt;
    return result;
}

// Keeping ICU fast on hostile citations. No length bounds the pattern, because " +" and " *" take
// any number of spaces, and a backtracking engine walks a long run of spaces again for every split
// it tries: 1,000 spaces after the author take seconds, 4,000 over a minute. Two steps keep both
// the answer and the work small.
//
// Apart from U+0020, a match holds at most 959 code points: author 160, "." 1, title 600, "(" 1,
// "pp." 3, pages 15, ")." 2, parenthetical with its "(" and ")." 163, "Kindle" "Edition." 14.
constexpr int32_t longestMatchWithoutSpaces = 959;

// Runs of spaces are cut to the length beyond which the pattern behaves the same:
// - Before the first ".", only the author can hold spaces, 159 at most.
// - Right after the first "." (it ends the author, which cannot hold one), " +" gives back its
//   spaces one by one: first the title starts after the run, then a one-space title ends before
//   " (", and every later split repeats one of these two (a title that starts inside the run only
//   has less room after it). Three spaces allow both.
// - Anywhere else, a title (600 at most, with a character before the run) cannot cross 600
//   spaces, and then every way into the run tries what follows it the same way whatever its
//   length (title end, page, page range, ")." or parenthetical end), or fails in any case (inside
//   a parenthetical, or in "Kindle Edition").
// Groups are then read from the citation as written, through the cuts. What remains is ICU's own
// cost inside the title's 600 characters, a constant whatever the size of the clipboard.
constexpr int32_t spacesBeforeFirstPeriod = 160;
constexpr int32_t spacesAfterAuthor = 3;
constexpr int32_t spacesElsewhere = 600;

int32_t codePointsOtherThanSpace(const icu::UnicodeString& text) {
    const char16_t* units = text.getBuffer();
    int32_t count = 0;
    for (int32_t i = 0; i < text.length(); ++i) {
        if (units[i] != u' ' && !U16_IS_TRAIL(units[i])) ++count;
    }
    return count;
}

class CitationWithShortSpaceRuns {
public:
    explicit CitationWithShortSpaceRuns(const icu::UnicodeString& citation) : citation_(citation) {
        const char16_t* units = citation.getBuffer();
        const int32_t length = citation.length();
        int32_t firstPeriod = -1;
        int32_t copied = 0;
        for (int32_t i = 0; i < length;) {
            if (units[i] != u' ') {
                if (units[i] == u'.' && firstPeriod < 0) firstPeriod = i;
                ++i;
                continue;
            }
            int32_t end = i;
            while (end < length && units[end] == u' ') ++end;
            const int32_t limit = firstPeriod < 0         ? spacesBeforeFirstPeriod
                                  : i == firstPeriod + 1 ? spacesAfterAuthor
                                                         : spacesElsewhere;
            if (end - i > limit) {
                shortened_.append(citation, copied, i + limit - copied);
                copied = end;
                cuts_.push_back(Cut{shortened_.length(), end});
            }
            i = end;
        }
        if (!cuts_.empty()) shortened_.append(citation, copied, length - copied);
    }

    const icu::UnicodeString& text() const { return cuts_.empty() ? citation_ : shortened_; }

    // The position in the citation as written; inside a shortened run, the same offset into the
    // original run.
    int32_t originalIndex(int32_t index) const {
        int32_t shift = 0;
        for (const Cut& cut : cuts_) {
            if (cut.shortenedEnd > index) break;
            shift = cut.originalEnd - cut.shortenedEnd;
        }
        return index + shift;
    }

private:
    struct Cut {
        int32_t shortenedEnd;
        int32_t originalEnd;
    };

    const icu::UnicodeString& citation_;
    icu::UnicodeString shortened_;
    std::vector<Cut> cuts_;
};

struct Citation {
    std::string title;
    std::string chapter;
};

std::optional<Citation> parsedCitation(std::string_view trimmedCitation) {
    const icu::RegexPattern* pattern = citationPattern();
    if (pattern == nullptr) return std::nullopt;
    auto citation = utf16(trimmedCitation);
    if (!citation) return std::nullopt;

    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfkc = icu::Normalizer2::getNFKCInstance(status);
    if (U_FAILURE(status)) return std::nullopt;
    if (nfkc->spanQuickCheckYes(*citation, status) < citation->length()) {
        *citation = nfkc->normalize(*citation, status);
    }
    if (U_FAILURE(status)) return std::nullopt;
    if (codePointsOtherThanSpace(*citation) > longestMatchWithoutSpaces) return std::nullopt;

    const CitationWithShortSpaceRuns subject(*citation);
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(subject.text(), status));
    if (U_FAILURE(status) || !matcher->find(status) || U_FAILURE(status)) return std::nullopt;
    const int32_t matchStart = subject.originalIndex(matcher->start(status));
    const int32_t matchEnd = subject.originalIndex(matcher->end(status));
    if (U_FAILURE(status) || matchEnd - matchStart != citation->length()) return std::nullopt;

    const auto group = [&](int32_t number) -> std::optional<std::string> {
        const int32_t start = matcher->start(number, status);
        const int32_t end = matcher->end(number, status);
        if (U_FAILURE(status) || start < 0 || end < start) return std::nullopt;
        const int32_t from = subject.originalIndex(start);
        std::string utf8;
        citation->tempSubString(from, subject.originalIndex(end) - from).toUTF8String(utf8);
        return utf8;
    };
    const auto title = group(2);
    const auto locator = group(3);
    const auto pages = group(4);
    if (!title || !locator || !pages) return std::nullopt;
    return Citation{trimWhitespaceAndNewlines(*title), *locator + " " + *pages};
}

}  // namespace

std::optional<VerifiedKindleCopy> verifiedKindleCopy(std::string_view raw) {
    std::string normalized = trimWhitespaceAndNewlines(raw);
    normalizeLineEnds(normalized);
    const auto blankLine = lastBlankLine(normalized);
    if (!blankLine) return std::nullopt;
    const std::string_view whole(normalized);

    // The citation first: it is short, and refuses most clipboards before the passage is copied.
    auto citation = parsedCitation(trimWhitespaceAndNewlines(whole.substr(blankLine->end)));
    if (!citation) return std::nullopt;
    std::string text = trimWhitespaceAndNewlines(whole.substr(0, blankLine->begin));
    // Only the passage is left to check for UTF-8: the citation was converted strictly, and every
    // other byte is white space the trims decoded or the blank line itself.
    if (text.empty() || !isValidUTF8(text)) return std::nullopt;
    return VerifiedKindleCopy{std::move(text), std::move(citation->title), std::move(citation->chapter)};
}

}  // namespace brisel
