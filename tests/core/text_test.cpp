#include "util/text.h"

#include <gtest/gtest.h>

#include "fakes/temp_dir.h"

namespace brisel {
namespace {

TEST(Text, TrimsUnicodeWhiteSpaceAndLineBreaksAtBothEndsOnly) {
    EXPECT_EQ(trimWhitespaceAndNewlines("cloud\n"), "cloud");
    EXPECT_EQ(trimWhitespaceAndNewlines(" \t cloud \r\n"), "cloud");
    EXPECT_EQ(trimWhitespaceAndNewlines("\u3000\u00A0cloud\u2028"), "cloud");
    EXPECT_EQ(trimWhitespaceAndNewlines("a b\nc"), "a b\nc");
    EXPECT_EQ(trimWhitespaceAndNewlines(" \n "), "");
    EXPECT_EQ(trimWhitespaceAndNewlines("\xE3\x80"), "\xE3\x80") << "a broken sequence is kept, not eaten";
}

TEST(Text, ValidatesUTF8) {
    EXPECT_TRUE(isValidUTF8("Brisel \u8aad\u66f8 \U0001F4DA"));
    EXPECT_FALSE(isValidUTF8("\xC0\xAF"));           // overlong
    EXPECT_FALSE(isValidUTF8("\xED\xA0\x80"));       // surrogate
    EXPECT_FALSE(isValidUTF8("\xF4\x90\x80\x80"));   // beyond U+10FFFF
    EXPECT_FALSE(isValidUTF8("\xE3\x81"));           // cut short
}

TEST(Text, ConvertsUTF16ToUTF8AndBackWithoutLoss) {
    struct Case {
        std::u16string utf16;
        std::string utf8;
    };
    const Case cases[] = {
        {u"", ""},
        {u"Brisel", "Brisel"},
        {std::u16string(u"a\0b", 3), std::string("a\0b", 3)},
        {u"\u00E9\u8AAD", "\xC3\xA9\xE8\xAA\xAD"},
        {u"\U0001F4DA", "\xF0\x9F\x93\x9A"},
        {u"\uFFFF", "\xEF\xBF\xBF"},
        // Unpaired surrogates, alone, at either end, reversed, and a pair beside a lone one.
        {u"\xD800", "\xED\xA0\x80"},
        {u"\xDFFF", "\xED\xBF\xBF"},
        {u"a\xDBFF", "a\xED\xAF\xBF"},
        {u"\xDC00" u"a", "\xED\xB0\x80" "a"},
        {u"\xDC00\xD800", "\xED\xB0\x80\xED\xA0\x80"},
        {u"\xD83D\xD83D\xDCDA", "\xED\xA0\xBD\xF0\x9F\x93\x9A"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(wtf8FromUTF16(c.utf16), c.utf8) << c.utf8;
        EXPECT_EQ(utf16FromWTF8(c.utf8), c.utf16) << c.utf8;
    }
}

TEST(Text, ConvertsBytesThatAreNotUTF8ToOneReplacementCharacterEach) {
    struct Case {
        std::string utf8;
        std::u16string utf16;
    };
    const Case cases[] = {
        {"\xFF", u"\uFFFD"},
        {"a\xC0\xAF" "b", u"a\uFFFD\uFFFDb"},           // overlong
        {"\xE3\x81", u"\uFFFD\uFFFD"},                // cut short
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond U+10FFFF
    };
    for (const Case& c : cases) EXPECT_EQ(utf16FromWTF8(c.utf8), c.utf16) << c.utf8;
}

TEST(Text, FindsNulAndEveryKindOfLineBreak) {
    EXPECT_FALSE(containsNulOrLineBreak("/usr/bin/node"));
    EXPECT_TRUE(containsNulOrLineBreak("/usr/bin/node\n/bin/sh"));
    EXPECT_TRUE(containsNulOrLineBreak("/usr/bin/node\r"));
    EXPECT_TRUE(containsNulOrLineBreak(std::string("/usr\0/node", 10)));
    EXPECT_TRUE(containsNulOrLineBreak("/usr\u2028node"));
}

TEST(Text, ReadsSettingsAsTrimmedUTF8OrNotAtAll) {
    testing::TempDir dir;
    testing::writeFile(dir / "ok.txt", "  bundled\n");
    testing::writeFile(dir / "latin1.txt", "bundl\xE9");
    EXPECT_EQ(readTrimmedSetting(dir / "ok.txt"), "bundled");
    EXPECT_EQ(readTrimmedSetting(dir / "latin1.txt"), std::nullopt);
    EXPECT_EQ(readTrimmedSetting(dir / "missing.txt"), std::nullopt);
}

}  // namespace
}  // namespace brisel
