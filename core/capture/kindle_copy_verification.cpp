#include "capture/kindle_copy_verification.h"

#include <unicode/utf16.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "util/icu_regex.h"
#include "util/nfkc.h"
#include "util/text.h"
#include "util/utf16.h"

namespace brisel {

namespace {

// Kindle's citation line, in ICU's dialect and exactly as the product has always matched it:
// author, title (shortest), page or page range, an optional parenthetical such as a series name.
constexpr char16_t kindleCitationPattern[] =
    uR"(^([\p{L}\p{M}\p{N}][\p{L}\p{M}\p{N} ,'’・·-]{0,159})\. +([^\r\n]{1,600}?) +\((p{1,2}\.) *([0-9]{1,7}(?: *[-–—] *[0-9]{1,7})?)\)\. +(?:\([^()\r\n]{1,160}\)\. +)?Kindle Edition\.$)";

// Compiled once and never destroyed, so a thread still verifying during exit is safe.
const IcuRegex& citationPattern() {
    static const IcuRegex* const pattern = new IcuRegex(kindleCitationPattern);
    return *pattern;
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

// Keeping ICU fast on hostile citations. No length bounds the pattern, because " +" and " *" take
// any number of spaces, and a backtracking engine walks a long run of spaces again for every split
// it tries: 1,000 spaces after the author take seconds, 4,000 over a minute. Two steps keep both
// the answer and the work small.
//
// Apart from U+0020, a match holds at most 959 code points: author 160, "." 1, title 600, "(" 1,
// "pp." 3, pages 15, ")." 2, parenthetical with its "(" and ")." 163, "Kindle" "Edition." 14.
constexpr size_t longestMatchWithoutSpaces = 959;

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

size_t codePointsOtherThanSpace(std::u16string_view text) {
    size_t count = 0;
    for (const char16_t unit : text) {
        if (unit != u' ' && !U16_IS_TRAIL(unit)) ++count;
    }
    return count;
}

class CitationWithShortSpaceRuns {
public:
    explicit CitationWithShortSpaceRuns(std::u16string_view citation) : citation_(citation) {
        const char16_t* units = citation.data();
        const auto length = static_cast<int32_t>(citation.size());
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
                shortened_.append(citation.substr(copied, i + limit - copied));
                copied = end;
                cuts_.push_back(Cut{static_cast<int32_t>(shortened_.size()), end});
            }
            i = end;
        }
        if (!cuts_.empty()) shortened_.append(citation.substr(copied));
    }

    std::u16string_view text() const { return cuts_.empty() ? citation_ : std::u16string_view(shortened_); }

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

    std::u16string_view citation_;
    std::u16string shortened_;
    std::vector<Cut> cuts_;
};

struct Citation {
    std::string title;
    std::string chapter;
};

std::optional<Citation> parsedCitation(std::string_view trimmedCitation) {
    const IcuRegex& pattern = citationPattern();
    if (!pattern.compiled()) return std::nullopt;
    auto citation = utf16FromUTF8(trimmedCitation);
    if (!citation || !normalizeToNFKC(*citation)) return std::nullopt;
    if (codePointsOtherThanSpace(*citation) > longestMatchWithoutSpaces) return std::nullopt;

    const CitationWithShortSpaceRuns subject(*citation);
    const auto match = pattern.firstMatch(subject.text());
    if (!match || !(*match)[0]) return std::nullopt;
    const int32_t matchStart = subject.originalIndex((*match)[0]->start);
    const int32_t matchEnd = subject.originalIndex((*match)[0]->end);
    if (static_cast<size_t>(matchEnd - matchStart) != citation->size()) return std::nullopt;

    const auto group = [&](size_t number) -> std::optional<std::string> {
        if (number >= match->size() || !(*match)[number]) return std::nullopt;
        const int32_t from = subject.originalIndex((*match)[number]->start);
        const int32_t to = subject.originalIndex((*match)[number]->end);
        return utf8FromUTF16(std::u16string_view(*citation).substr(from, to - from));
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
