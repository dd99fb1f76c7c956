#include "util/text.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

TEST(Text, TrimsUnicodeSpaceAtTheEndsAndKnowsUTF8) {
    EXPECT_EQ(trimWhitespaceAndNewlines("\u3000\u00A0 a b\nc\r\n\u2028"), "a b\nc");
    EXPECT_EQ(trimWhitespaceAndNewlines("\xE3\x80"), "\xE3\x80") << "a broken sequence is kept, not eaten";
    for (const char* refused : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE3\x81"}) EXPECT_FALSE(isValidUTF8(refused));
}

// The macOS pasteboard speaks UTF-16; every string of it, lone surrogates too, survives the trip.
TEST(Text, UTF16RoundTripsThroughWTF8EvenWithLoneSurrogates) {
    const std::pair<std::u16string, std::string> lossless[] = {
        {std::u16string(u"a\0b", 3), std::string("a\0b", 3)},
        {u"\u00E9\u8AAD\U0001F4DA", "\xC3\xA9\xE8\xAA\xAD\xF0\x9F\x93\x9A"},
        {u"a\xDBFF", "a\xED\xAF\xBF"},
        {u"\xDC00\xD800", "\xED\xB0\x80\xED\xA0\x80"},
        {u"\xD83D\xD83D\xDCDA", "\xED\xA0\xBD\xF0\x9F\x93\x9A"},
    };
    for (const auto& [utf16, wtf8] : lossless) {
        EXPECT_EQ(wtf8FromUTF16(utf16), wtf8);
        EXPECT_EQ(utf16FromWTF8(wtf8), utf16);
    }
    EXPECT_EQ(utf16FromWTF8("a\xC0\xAF" "b\xF4\x90\x80"), u"a\uFFFD\uFFFDb\uFFFD\uFFFD\uFFFD") << "one U+FFFD a stray byte";
}

}  // namespace
}  // namespace brisel
