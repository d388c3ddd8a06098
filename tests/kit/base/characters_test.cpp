#include "kit/base/characters.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

TEST(Characters, CountsUtf16Units) {
    EXPECT_EQ(characterCount(""), 0U);
    EXPECT_EQ(characterCount("abc"), 3U);
    EXPECT_EQ(characterCount("é€"), 2U);
    EXPECT_EQ(characterCount("😀"), 2U);
}

TEST(Characters, CountsEachInvalidByteOnce) {
    EXPECT_EQ(characterCount("\xff\xfe"), 2U);
    EXPECT_EQ(characterCount("\xe2\x82"), 2U);
    EXPECT_EQ(characterCount("\xc0\xaf"), 2U);     // overlong
    EXPECT_EQ(characterCount("\xed\xa0\x80"), 3U); // surrogate
}

TEST(Characters, DropsFromBothEnds) {
    EXPECT_EQ(dropFirstCharacters("é€x", 2), "x");
    EXPECT_EQ(dropFirstCharacters("ab", 5), "");
    EXPECT_EQ(dropLastCharacters("/Applications/", 2), "/Application");
    EXPECT_EQ(dropLastCharacters("/a/é/", 2), "/a/");
    EXPECT_EQ(dropLastCharacters("/a/😀/", 2), "/a/");
    EXPECT_EQ(dropLastCharacters("a", 2), "");
}

TEST(Characters, TrimsWhiteSpaceAndLineBreaks) {
    EXPECT_EQ(trimWhitespace(" \t\r\n a b \n"), "a b");
    EXPECT_EQ(trimWhitespace("\u00a0\u2028x\u3000"), "x");
    EXPECT_EQ(trimWhitespace("\n \n"), "");
    EXPECT_EQ(trimWhitespace("\x80\xff"), "\x80\xff");
}

TEST(Characters, KnowsValidUtf8) {
    EXPECT_TRUE(isValidUtf8("é😀"));
    EXPECT_FALSE(isValidUtf8("a\xff"));
    EXPECT_FALSE(isValidUtf8("\xf4\x90\x80\x80"));
}

TEST(Characters, ReplacesInOnePass) {
    EXPECT_EQ(replaceAll("%%%%%%", "%%%", "%%"), "%%%%");
    EXPECT_EQ(replaceAll("abc", "x", "y"), "abc");
}

TEST(Characters, ReplacesBytesThatAreNoText) {
    EXPECT_EQ(replaceInvalidBytes("plain \xC3\xA9 \xF0\x9F\x98\x80"),
              "plain \xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(replaceInvalidBytes("a\xFF"
                                  "b\xC3"),
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD");
    EXPECT_EQ(replaceInvalidBytes(""), "");
}

TEST(Characters, KnowsAscii) {
    EXPECT_TRUE(isAscii(""));
    EXPECT_TRUE(isAscii("0123456789abcdef\x7F"));
    EXPECT_FALSE(isAscii("0123456789abcdef\xC3\xA9"));
    EXPECT_FALSE(isAscii("\x80"
                         "123456789abcdef"));
}

TEST(Characters, CountsLongTexts) {
    EXPECT_EQ(characterCount("0123456789abcdef\xC3\xA9"
                             "0123456789"),
              27U);
    EXPECT_FALSE(isValidUtf8("0123456789abcdef\xFF"));
    EXPECT_TRUE(isValidUtf8("0123456789abcdef\xC3\xA9"));
}

TEST(Characters, HaveLowerCaseForms) {
    EXPECT_EQ(lowercase("Report.TXT [1]"), "report.txt [1]");
    EXPECT_EQ(lowercase("\u00C4\u00D8\u0416\u03A9\u00DF\u4E2D"),
              "\u00E4\u00F8\u0436\u03C9\u00DF\u4E2D");
    EXPECT_EQ(lowercase("\U00010400"), "\U00010428");
    EXPECT_EQ(lowercase("A\xC3\xFF\x84Z"), "a\xC3\xFF\x84z");
    EXPECT_EQ(lowercase(""), "");
}

} // namespace
} // namespace quorvane
