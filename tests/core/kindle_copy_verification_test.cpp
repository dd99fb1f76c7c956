#include "capture/kindle_copy_verification.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace brisel {
namespace {

const std::string passage = "Some passage.";
const std::string citation = "Doe, Jane. A Title (p. 12). Kindle Edition.";

std::string repeated(const std::string& piece, size_t times) { std::string text; while (times--) text += piece; return text; }
std::string spaces(size_t count) { return std::string(count, ' '); }
std::string cited(const std::string& line) { return passage + "\n\n" + line; }
std::string byAuthor(const std::string& author) { return cited(author + ". A Title (p. 12). Kindle Edition."); }
std::string titled(const std::string& title) { return cited("Doe, Jane. " + title + " (p. 12). Kindle Edition."); }
std::string paged(const std::string& pages) { return cited("Doe, Jane. A Title (" + pages + "). Kindle Edition."); }
std::string inSeries(const std::string& series) { return cited("Doe, Jane. A Title (p. 12). (" + series + "). Kindle Edition."); }

// What a row expects where it differs from Kindle's own copy of `passage`.
VerifiedKindleCopy pages(const std::string& chapter) { return {passage, "A Title", chapter}; }
VerifiedKindleCopy title(const std::string& title) { return {passage, title, "p. 12"}; }
VerifiedKindleCopy text(const std::string& text) { return {text, "A Title", "p. 12"}; }
const VerifiedKindleCopy same = text(passage);

TEST(KindleCopyVerification, AcceptsWhatKindleWrites) {
    const std::string title600(600, 't');
    const std::vector<std::tuple<const char*, std::string, VerifiedKindleCopy>> rows = {
        {"Kindle's own copy", cited(citation), same},
        {"white space and a blank line around", " \n\t" + passage + " \n\n " + citation + " \n\n", same},
        {"an en dash, its spaces kept", paged("pp.12 –  14"), pages("pp. 12 –  14")},
        {"spaces after p. dropped, a range with a hyphen", paged("p.   7-9"), pages("p. 7-9")},
        {"the series dropped", inSeries("Series Name"), same},
        {"a title with parentheses", titled("A Title (Annotated)"), title("A Title (Annotated)")},
        {"the shortest title", cited("Doe, Jane. A Title (p. 1). (p. 2). Kindle Edition."), pages("p. 1")},
        {"an author with ', -, ’, · and ・", byAuthor("O'Brien-Smith, Jean·Luc O’Neil・Jr"), same},
        {"a Japanese citation", cited("スミス. 本のタイトル (p. 12). Kindle Edition."), title("本のタイトル")},
        {"a full-width citation", cited("Ｄｏｅ，　Ｊａｎｅ．　Ａ　Ｔｉｔｌｅ　（ｐ．　１２）．　Ｋｉｎｄｌｅ　Ｅｄｉｔｉｏｎ．"),
         same},
        {"CR LF line ends", "One.\r\nTwo.\r\n\r\n" + citation, text("One.\nTwo.")},
        {"lone CR line ends", "One.\rTwo.\r\r" + citation, text("One.\nTwo.")},
        {"a blank line of spaces, tabs and U+3000", passage + "\n \t\u3000 \n" + citation, same},
        {"only the last blank line separates", "One.\n\nTwo.\n\u3000\n" + cited(citation),
         text("One.\n\nTwo.\n\u3000\n" + passage)},
        {"the passage as it is: full-width, UTF-8, a NUL", std::string("ＡＢ Caf\xC3\xA9\0.", 14) + "\n\n" + citation,
         text(std::string("ＡＢ Caf\xC3\xA9\0.", 14))},
        {"a title of 600 outside the BMP, 1,200 UTF-16 units", titled(repeated("\U0002000B", 600)),
         title(repeated("\U0002000B", 600))},
        {"a title of 600 with 598 spaces", titled("A" + spaces(598) + "B"), title("A" + spaces(598) + "B")},
        {"the longest: author of 160, title of 600, 7 digits, series of 160",
         cited("D" + repeated("o", 159) + ". " + title600 + " (pp. 1234567–7654321). (" + repeated("s", 160) + "). Kindle Edition."),
         VerifiedKindleCopy{passage, title600, "pp. 1234567–7654321"}},
        {"10,000 spaces between all parts", cited("Doe, Jane. A Title" + spaces(10000) + "(p." + spaces(10000) + "12)." +
                                                  spaces(10000) + "(Series)." + spaces(10000) + "Kindle Edition."), same},
        {"5,000 spaces after the author: an empty title", cited("Doe, Jane." + spaces(5000) + "(p. 12). Kindle Edition."),
         title("")},
        {"a range with long space runs kept",
         paged("pp." + spaces(3000) + "12" + spaces(1000) + "–" + spaces(2000) + "14"),
         pages("pp. 12" + spaces(1000) + "–" + spaces(2000) + "14")},
    };
    for (const auto& [why, raw, expected] : rows) EXPECT_EQ(verifiedKindleCopy(raw), expected) << why;
}

TEST(KindleCopyVerification, RefusesWhatKindleNeverWrites) {
    const std::vector<std::pair<const char*, std::string>> rows = {
        {"nothing", ""},
        {"no blank line", passage + "\n" + citation},
        {"a blank line of no-break spaces", passage + "\n\u00A0\n" + citation},
        {"text after the citation", cited(citation) + "\n\nMore."},
        {"a blank passage", " \u3000\n \n\t" + citation},
        {"words after the edition", cited(citation + " More")},
        {"an author starting with -", byAuthor("-Doe, Jane")},
        {"eight digits", paged("p. 12345678")},
        {"a range to eight digits", paged("pp. 1-12345678")},
        {"three p's", paged("ppp. 12")},
        {"an open range", paged("p. 12-")},
        {"a line break in the title", titled("A\nTitle")},
        {"a cut UTF-8 sequence", "Caf\xC3.\n\n" + citation},
        {"an unpaired surrogate in the title", titled("A \xED\xA0\x80Title")},
        {"an author of 161", byAuthor("D" + repeated("o", 160))},
        {"an author ending in 160 spaces", byAuthor("D" + spaces(160))},
        {"a title of 601", titled(repeated("t", 601))},
        {"a title of 601 with 599 spaces", titled("A" + spaces(599) + "B")},
        {"a series of 161", inSeries(repeated("s", 161))},
        {"a series with 5,000 spaces", inSeries("S" + spaces(5000) + "s")},
        {"two spaces after the author", cited("Doe, Jane.  (p. 12). Kindle Edition.")},
        {"a megabyte without a blank line", repeated("A line of a long passage without any blank line.\n", 21000) + citation},
    };
    for (const auto& [why, raw] : rows) EXPECT_EQ(verifiedKindleCopy(raw), std::nullopt) << why;
}

}  // namespace
}  // namespace brisel
