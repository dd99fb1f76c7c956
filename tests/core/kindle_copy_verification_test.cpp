#include "capture/kindle_copy_verification.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "app/companion.h"
#include "util/text.h"

namespace brisel {
namespace {

const std::string passage = "Some passage.";
const std::string citation = "Doe, Jane. A Title (p. 12). Kindle Edition.";

std::string repeated(std::string_view piece, size_t times) {
    std::string result;
    result.reserve(piece.size() * times);
    for (size_t i = 0; i < times; ++i) result += piece;
    return result;
}

std::string spaces(size_t count) { return std::string(count, ' '); }

std::string copyWithCitation(const std::string& citationLine) { return passage + "\n\n" + citationLine; }

void expectCopy(const std::string& raw, const std::string& text, const std::string& title,
                const std::string& chapter) {
    const auto copy = verifiedKindleCopy(raw);
    ASSERT_TRUE(copy.has_value()) << "refused: " << raw.substr(0, 300);
    EXPECT_EQ(copy->text, text);
    EXPECT_EQ(copy->title, title);
    EXPECT_EQ(copy->chapter, chapter);
}

void expectRefused(const std::string& raw) {
    const auto copy = verifiedKindleCopy(raw);
    EXPECT_FALSE(copy.has_value()) << "accepted: " << raw.substr(0, 300) << "\n  as title \""
                                   << copy->title << "\", chapter \"" << copy->chapter << "\"";
}

// What Kindle writes, and the variants it is known to write.

TEST(KindleCopyVerification, ReadsPassageTitleAndPage) {
    expectCopy(passage + "\n\n" + citation, "Some passage.", "A Title", "p. 12");
    expectCopy(" \n\t" + passage + " \n\n " + citation + " \n", "Some passage.", "A Title", "p. 12");
}

TEST(KindleCopyVerification, KeepsPageRangesAsWrittenWithEveryDash) {
    expectCopy(copyWithCitation("Doe, Jane. A Title (pp. 12-14). Kindle Edition."), passage, "A Title", "pp. 12-14");
    expectCopy(copyWithCitation("Doe, Jane. A Title (pp. 12 – 14). Kindle Edition."), passage, "A Title",
               "pp. 12 – 14");
    expectCopy(copyWithCitation("Doe, Jane. A Title (pp. 12—14). Kindle Edition."), passage, "A Title", "pp. 12—14");
    expectCopy(copyWithCitation("Doe, Jane. A Title (pp.12 -  14). Kindle Edition."), passage, "A Title",
               "pp. 12 -  14");
    {
        SCOPED_TRACE("spaces after \"p.\" are not part of the page");
        expectCopy(copyWithCitation("Doe, Jane. A Title (p.   7). Kindle Edition."), passage, "A Title", "p. 7");
    }
}

TEST(KindleCopyVerification, DropsTheSeriesParenthetical) {
    expectCopy(copyWithCitation("Doe, Jane. A Title (p. 3). (Series Name). Kindle Edition."), passage, "A Title",
               "p. 3");
}

TEST(KindleCopyVerification, TitleTakesTheShortestSplitAndMayHoldParentheses) {
    expectCopy(copyWithCitation("Doe, Jane. A Title (Annotated) (p. 3). Kindle Edition."), passage,
               "A Title (Annotated)", "p. 3");
    {
        SCOPED_TRACE("the shortest title leaves \"(p. 2)\" to the parenthetical");
        expectCopy(copyWithCitation("Doe, Jane. A Title (p. 1). (p. 2). Kindle Edition."), passage, "A Title", "p. 1");
    }
    expectCopy(copyWithCitation("Doe, Jane. Book 2. The End (p. 9). Kindle Edition."), passage, "Book 2. The End",
               "p. 9");
}

TEST(KindleCopyVerification, AcceptsAuthorsWithApostrophesMiddleDotsAndHyphens) {
    expectCopy(copyWithCitation("O'Brien, Pat. A Title (p. 1). Kindle Edition."), passage, "A Title", "p. 1");
    expectCopy(copyWithCitation("O’Brien-Smith, Pat. A Title (p. 1). Kindle Edition."), passage, "A Title", "p. 1");
    expectCopy(copyWithCitation("ジョン・スミス. 本のタイトル (p. 7). Kindle Edition."), passage, "本のタイトル", "p. 7");
    expectCopy(copyWithCitation("Jean·Luc. Un titre (p. 7). Kindle Edition."), passage, "Un titre", "p. 7");
}

TEST(KindleCopyVerification, ReadsTheCitationAfterCompatibilityNormalisation) {
    expectCopy(copyWithCitation("Doe, Jane. A Title (p. １２). Kindle Edition."), passage, "A Title", "p. 12");
    expectCopy(copyWithCitation("Ｄｏｅ，　Ｊａｎｅ．　Ａ　Ｔｉｔｌｅ　（ｐｐ．　１２－１４）．　Ｋｉｎｄｌｅ　Ｅｄｉｔｉｏｎ．"),
               passage, "A Title", "pp. 12-14");
    {
        SCOPED_TRACE("no-break spaces become spaces");
        expectCopy(copyWithCitation("Doe, Jane.\u00A0A Title\u00A0(p.\u00A012).\u00A0Kindle Edition."), passage,
                   "A Title", "p. 12");
    }
    expectCopy("ＡＢＣ１２\n\n" + citation, "ＡＢＣ１２", "A Title", "p. 12");  // the passage stays as copied
}

TEST(KindleCopyVerification, AcceptsCarriageReturnLineEnds) {
    expectCopy("Some passage.\r\n\r\n" + citation, passage, "A Title", "p. 12");
    expectCopy("Some passage.\r\r" + citation, passage, "A Title", "p. 12");
    expectCopy("Some passage.\n\r\n" + citation, passage, "A Title", "p. 12");
    expectCopy("Line one.\r\nLine two.\r\n\r\n" + citation, "Line one.\nLine two.", "A Title", "p. 12");
    expectCopy("Line one.\rLine two.\r\r" + citation, "Line one.\nLine two.", "A Title", "p. 12");
}

TEST(KindleCopyVerification, BlankLinesMayHoldSpacesTabsAndIdeographicSpaces) {
    expectCopy("Some passage.\n\u3000\u3000\n" + citation, passage, "A Title", "p. 12");
    expectCopy("Some passage.\n \t\u3000 \n" + citation, passage, "A Title", "p. 12");
    expectCopy("Some passage.\n\n\n\n" + citation, passage, "A Title", "p. 12");
    expectRefused("Some passage.\n\u00A0\n" + citation);
    expectRefused("Some passage.\n\u2003\n" + citation);
}

TEST(KindleCopyVerification, OnlyTheLastBlankLineSeparatesTheCitation) {
    const std::string paragraphs = "First paragraph.\n\nSecond paragraph.\n\u3000\nThird.";
    expectCopy(paragraphs + "\n\n" + citation, paragraphs, "A Title", "p. 12");
    expectRefused(passage + "\n\n" + citation + "\n\nMore text.");
}

// What Kindle never writes.

TEST(KindleCopyVerificationRefusals, NeedsABlankLineBeforeTheCitation) {
    expectRefused(passage + "\n" + citation);
    expectRefused(passage + " " + citation);
    expectRefused(citation);
    expectRefused("");
}

TEST(KindleCopyVerificationRefusals, NeedsAPassage) {
    expectRefused("\n\n" + citation);
    expectRefused(" \u3000\n \n\t" + citation);
    expectRefused("\r\n\r\n" + citation);
}

TEST(KindleCopyVerificationRefusals, NeedsKindleEditionWithItsPeriodAtTheVeryEnd) {
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12). Kindle Edition"));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12). Kindle Edition. More"));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12). Kindle Edition.."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12). Kindle edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12). Paperback."));
}

TEST(KindleCopyVerificationRefusals, AuthorStartsWithALetterMarkOrDigit) {
    expectRefused(copyWithCitation("\"Doe\", Jane. A Title (p. 12). Kindle Edition."));
    expectRefused(copyWithCitation("“Doe,” Jane. A Title (p. 12). Kindle Edition."));
    expectRefused(copyWithCitation("'Doe, Jane. A Title (p. 12). Kindle Edition."));
    expectRefused(copyWithCitation("-Doe, Jane. A Title (p. 12). Kindle Edition."));
    expectCopy(copyWithCitation("3M Staff. A Title (p. 12). Kindle Edition."), passage, "A Title", "p. 12");
}

TEST(KindleCopyVerificationRefusals, PagesHaveAtMostSevenDigitsAndOneOrTwoPs) {
    expectCopy(copyWithCitation("Doe, Jane. A Title (p. 1234567). Kindle Edition."), passage, "A Title",
               "p. 1234567");
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12345678). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (pp. 1-12345678). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (ppp. 12). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (P. 12). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. ). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (loc. 12). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12-). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12~14). Kindle Edition."));
}

TEST(KindleCopyVerificationRefusals, CitationIsOneLine) {
    expectRefused(copyWithCitation("Doe, Jane. A\nTitle (p. 12). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12).\nKindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A\rTitle (p. 12). Kindle Edition."));
}

TEST(KindleCopyVerificationRefusals, BytesThatAreNotUTF8) {
    expectCopy("Caf\xC3\xA9.\n\n" + citation, "Caf\xC3\xA9.", "A Title", "p. 12");
    expectRefused("Caf\xC3.\n\n" + citation);
    expectRefused("Some \xFF passage.\n\n" + citation);
    expectRefused("\xFE" + passage + "\n\n" + citation);
    expectRefused(passage + "\xC0\xAF\n\n" + citation);
    // An unpaired surrogate on the clipboard reaches core in its three-byte form: refused, not
    // delivered altered. A NUL inside is text like any other.
    expectRefused("Some \xED\xB0\x80 passage.\n\n" + citation);
    expectCopy(std::string("Some\0passage.", 13) + "\n\n" + citation, std::string("Some\0passage.", 13), "A Title",
               "p. 12");
    expectRefused(copyWithCitation("Doe, Jane. A \xED\xA0\x80Title (p. 12). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12). Kindle Edition.\xE3\x80"));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12). Kindle Edition.") + "\n\xF4\x90\x80\x80");
}

// The pattern's limits, counted in code points the way ICU counts them.

TEST(KindleCopyVerificationLimits, AuthorHasAtMost160Characters) {
    const auto withAuthor = [](const std::string& author) {
        return copyWithCitation(author + ". A Title (p. 12). Kindle Edition.");
    };
    expectCopy(withAuthor("D" + repeated("o", 159)), passage, "A Title", "p. 12");
    expectRefused(withAuthor("D" + repeated("o", 160)));
    {
        SCOPED_TRACE("a character outside the BMP is one character");
        expectCopy(withAuthor(repeated("\U0002000B", 160)), passage, "A Title", "p. 12");
    }
    expectRefused(withAuthor(repeated("\U0002000B", 161)));
    expectCopy(withAuthor("D" + spaces(158) + "e"), passage, "A Title", "p. 12");
    expectRefused(withAuthor("D" + spaces(159) + "e"));
    expectRefused(withAuthor("D" + spaces(5000) + "e"));
    expectCopy(withAuthor("D" + spaces(159)), passage, "A Title", "p. 12");
    expectRefused(withAuthor("D" + spaces(160)));
    expectRefused(withAuthor("D" + spaces(5000)));
}

TEST(KindleCopyVerificationLimits, TitleHasAtMost600Characters) {
    const auto withTitle = [](const std::string& title) {
        return copyWithCitation("Doe, Jane. " + title + " (p. 12). Kindle Edition.");
    };
    expectCopy(withTitle(repeated("t", 600)), passage, repeated("t", 600), "p. 12");
    expectRefused(withTitle(repeated("t", 601)));
    expectCopy(withTitle(repeated("\U0002000B", 600)), passage, repeated("\U0002000B", 600), "p. 12");
    expectRefused(withTitle(repeated("\U0002000B", 601)));
    expectCopy(withTitle("A" + spaces(598) + "B"), passage, "A" + spaces(598) + "B", "p. 12");
    expectRefused(withTitle("A" + spaces(599) + "B"));
    expectRefused(withTitle("A" + spaces(600) + "B"));
    expectRefused(withTitle("A" + spaces(5000) + "B"));
}

TEST(KindleCopyVerificationLimits, ParentheticalHasAtMost160Characters) {
    const auto withSeries = [](const std::string& series) {
        return copyWithCitation("Doe, Jane. A Title (p. 3). (" + series + "). Kindle Edition.");
    };
    expectCopy(withSeries(repeated("s", 160)), passage, "A Title", "p. 3");
    expectRefused(withSeries(repeated("s", 161)));
    expectCopy(withSeries("S" + spaces(158) + "s"), passage, "A Title", "p. 3");
    expectRefused(withSeries("S" + spaces(5000) + "s"));
}

TEST(KindleCopyVerificationLimits, TheLongestCitationThePatternAllowsIsAccepted) {
    const std::string title = repeated("t", 600);
    const std::string longest = "D" + repeated("o", 159) + ". " + title + " (pp. 1234567–7654321). (" +
                                repeated("s", 160) + "). Kindle Edition.";
    expectCopy(copyWithCitation(longest), passage, title, "pp. 1234567–7654321");
    expectCopy(copyWithCitation("Ｄ" + repeated("ｏ", 159) + "．　" + repeated("ｔ", 600) + "　（ｐｐ．　１２３４５６７－７６５４３２１）．　（" +
                                repeated("ｓ", 160) + "）．　Ｋｉｎｄｌｅ　Ｅｄｉｔｉｏｎ．"),
               passage, title, "pp. 1234567-7654321");
}

TEST(KindleCopyVerificationLimits, PassageLengthIsCountedInScalarsOfTheTextAlone) {
    const std::string longCitation = "Doe, Jane. " + repeated("t", 600) + " (pp. 1 – 2). (Series). Kindle Edition.";
    const auto atLimit = verifiedKindleCopy(repeated("あ", 240) + "\n\n" + longCitation);
    ASSERT_TRUE(atLimit.has_value());
    EXPECT_EQ(unicodeScalarCount(atLimit->text), 240u);
    EXPECT_LE(unicodeScalarCount(atLimit->text), static_cast<size_t>(maximumKindleSelectionCharacters));

    const auto overLimit = verifiedKindleCopy(repeated("あ", 241) + "\n\n" + longCitation);
    ASSERT_TRUE(overLimit.has_value()) << "the limit is the caller's";
    EXPECT_GT(unicodeScalarCount(overLimit->text), static_cast<size_t>(maximumKindleSelectionCharacters));
}

TEST(KindleCopyVerificationLimits, AnEmojiOfSeveralScalarsCountsAsSeveral) {
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";  // one glyph, five scalars
    EXPECT_EQ(unicodeScalarCount(family), 5u);
    const auto copy = verifiedKindleCopy(repeated("a", 236) + family + "\n\n" + citation);
    ASSERT_TRUE(copy.has_value());
    EXPECT_EQ(unicodeScalarCount(copy->text), 241u);
    EXPECT_GT(unicodeScalarCount(copy->text), static_cast<size_t>(maximumKindleSelectionCharacters));
}

TEST(KindleCopyVerificationLimits, ScalarCountOfBrokenBytesCountsEachByte) {
    EXPECT_EQ(unicodeScalarCount(""), 0u);
    EXPECT_EQ(unicodeScalarCount("Kindle"), 6u);
    EXPECT_EQ(unicodeScalarCount("読書\U0001F4DA"), 3u);
    EXPECT_EQ(unicodeScalarCount("\xFF\xFE"), 2u);
    EXPECT_EQ(unicodeScalarCount("a\xE3\x81"), 3u);
}

// Long runs of spaces are where a backtracking engine loses its time; the answers stay those of the
// pattern as written.

TEST(KindleCopyVerificationHostileInput, LongSpaceRunsKeepTheirAnswers) {
    expectCopy(copyWithCitation("Doe, Jane." + spaces(10000) + "A Title (p. 12). Kindle Edition."), passage,
               "A Title", "p. 12");
    expectRefused(copyWithCitation("Doe, Jane." + spaces(10000) + "A Title (p. 12). Kindle Edition"));
    expectRefused(copyWithCitation("Doe, Jane." + spaces(10000) + "(p. 12345678). Kindle Edition."));
    expectCopy(copyWithCitation("Doe, Jane. A Title" + spaces(10000) + "(p." + spaces(10000) + "12)." +
                                spaces(10000) + "(Series)." + spaces(10000) + "Kindle Edition."),
               passage, "A Title", "p. 12");
    expectRefused(copyWithCitation("Doe, Jane. A Title" + spaces(10000) + "x (p. 12). Kindle Edition."));
    expectRefused(copyWithCitation("Doe, Jane. A Title (p. 12)." + spaces(10000) + "Kindle  Edition."));
}

TEST(KindleCopyVerificationHostileInput, SpacesAfterTheAuthorCanBeATitleOfTheirOwn) {
    // With three spaces or more, one of them can be the title between " +" and " +\(".
    expectRefused(copyWithCitation("Doe, Jane.  (p. 12). Kindle Edition."));
    expectCopy(copyWithCitation("Doe, Jane.   (p. 12). Kindle Edition."), passage, "", "p. 12");
    expectCopy(copyWithCitation("Doe, Jane." + spaces(5000) + "(p. 12). Kindle Edition."), passage, "", "p. 12");
}

TEST(KindleCopyVerificationHostileInput, PageRangesKeepLongSpaceRunsAsWritten) {
    const std::string range = "12" + spaces(1000) + "–" + spaces(2000) + "14";
    expectCopy(copyWithCitation("Doe, Jane. A Title (pp." + spaces(3000) + range + "). Kindle Edition."), passage,
               "A Title", "pp. " + range);
}

TEST(KindleCopyVerificationHostileInput, LargeClipboardsGetTheirAnswer) {
    std::string noBlankLine;
    while (noBlankLine.size() < (1u << 20)) noBlankLine += "A line of a long passage without any blank line.\n";
    expectRefused(noBlankLine + citation);

    expectCopy(passage + repeated("\n \u3000", 10000) + "\n" + citation, passage, "A Title", "p. 12");
    expectCopy(repeated("Para.\n\n", 10000) + passage + "\n\n" + citation,
               repeated("Para.\n\n", 10000) + passage, "A Title", "p. 12");

    expectRefused(copyWithCitation("Doe, Jane. " + repeated("long title ", 10000) + "(p. 12). Kindle Edition."));
    expectRefused(copyWithCitation(repeated("x", 100000)));
}

TEST(KindleCopyVerificationConcurrency, CanBeCalledFromSeveralThreadsAtOnce) {
    const std::vector<std::string> inputs = {
        passage + "\n\n" + citation,
        copyWithCitation("Doe, Jane. A Title (pp. 12 – 14). (Series). Kindle Edition."),
        copyWithCitation("Doe, Jane. A Title (p. 12). Kindle Edition"),
        copyWithCitation("Doe, Jane." + spaces(2000) + "A Title (p. 7). Kindle Edition."),
    };
    std::vector<std::optional<VerifiedKindleCopy>> expected;
    for (const auto& input : inputs) expected.push_back(verifiedKindleCopy(input));

    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < mismatches.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 200; ++round) {
                for (size_t i = 0; i < inputs.size(); ++i) {
                    if (verifiedKindleCopy(inputs[i]) != expected[i]) ++mismatches[t];
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (int count : mismatches) EXPECT_EQ(count, 0);
}

}  // namespace
}  // namespace brisel
