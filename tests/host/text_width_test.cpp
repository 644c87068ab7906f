// What texts take of a line on a screen.

#include "host/text/text_width.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

TEST(TextWidth, LongTextsAreWrappedBetweenWords)
{
    using Lines = std::vector<std::string>;
    EXPECT_EQ((Lines{""}), rtu::wrappedText("", 5));
    EXPECT_EQ((Lines{"one", "two"}), rtu::wrappedText("one two", 3));
    EXPECT_EQ((Lines{"one two"}), rtu::wrappedText("one two", 7));
    EXPECT_EQ((Lines{" one", "  two", "  six"}), rtu::wrappedText(" one two six", 6, 2));
    EXPECT_EQ((Lines{"abcde", "fgh"}), rtu::wrappedText("abcdefgh", 5));
    EXPECT_EQ((Lines{"a", "bcdef", "g"}), rtu::wrappedText("a bcdefg", 5));
    EXPECT_EQ((Lines{"ab", "cd"}), rtu::wrappedText("abcd", 2, 2)) << "no room for blanks";
}

TEST(TextWidth, CutsAtWholeCharacters)
{
    const std::string degrees = "\xC2\xB0"
                                "C";
    EXPECT_EQ(2, rtu::textWidth(degrees));
    EXPECT_EQ("\xC2\xB0", rtu::clippedText(degrees, 1));
    EXPECT_EQ(degrees + "  ", rtu::leftAligned(degrees, 4));
    EXPECT_EQ("  " + degrees, rtu::rightAligned(degrees, 4));
    EXPECT_EQ("ab", rtu::leftAligned("abc", 2));
    EXPECT_EQ("", rtu::clippedText("abc", 0));
    EXPECT_EQ("ab..", rtu::shortenedText("abcde", 4));
    EXPECT_EQ("abcd", rtu::shortenedText("abcd", 4));
}

TEST(TextWidth, IsThatOfUnicodeInEveryLocale)
{
    const std::string wide = "\xE6\xB0\xB4"; // two columns
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(2, rtu::textWidth(wide));
    std::setlocale(LC_CTYPE, before.c_str());
}

TEST(TextWidth, TerminalsWithoutLettersGetALikenessAsWide)
{
    EXPECT_EQ("oC, m3, uS", rtu::asciiText("\xC2\xB0"
                                           "C, m\xC2\xB3, \xC2\xB5S"));
    EXPECT_EQ("K?hlung", rtu::asciiText("K\xC3\xBChlung"));
    EXPECT_EQ("??.", rtu::asciiText("\xE6\xB0\xB4."));
}

TEST(TextWidth, TellsUtf8FromOtherEncodings)
{
    for (const char *text : {"", "plain", "\xC2\xB0", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"})
        EXPECT_TRUE(rtu::isUtf8(text)) << text;
    for (const char *text : {"\xB0", "\xC2", "\xC2x", "\xC0\x80", "\xE2\x82", "\xED\xA0\x80", "\xF5\x80\x80\x80"})
        EXPECT_FALSE(rtu::isUtf8(text)) << text;
}

} // namespace
