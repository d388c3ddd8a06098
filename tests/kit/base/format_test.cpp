#include "kit/base/format.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

TEST(Format, PutsValuesInPlaceOfObjects) {
    EXPECT_EQ(formatText("a %@ b %@", {"one", std::string("two")}), "a one b two");
    EXPECT_EQ(formatText("%@ %@ %@ %@", {1, -2L, std::size_t{3}, 2.5}), "1 -2 3 2.5");
    EXPECT_EQ(formatText("%@", {true}), "1");
    EXPECT_EQ(formatText("no values", {}), "no values");
    EXPECT_EQ(formatText("", {}), "");
}

TEST(Format, NullAndMissingValuesReadNull) {
    EXPECT_EQ(formatText("%@ %@ %s %d", {nullptr, MaybeText()}), "(null) (null) (null) (null)");
    const char* none = nullptr;
    EXPECT_EQ(formatText("%s", {none}), "(null)");
    EXPECT_EQ(formatText("%@", {std::nullopt}), "(null)");
}

TEST(Format, WritesIntegersInAllTheirForms) {
    EXPECT_EQ(formatText("%d %i %u %li %lu", {-1, 2, 3U, -4L, 5UL}), "-1 2 3 -4 5");
    EXPECT_EQ(formatText("%lld %llu %zu %qd %jd %td", {1, 2, 3, 4, 5, 6}), "1 2 3 4 5 6");
    EXPECT_EQ(formatText("%x %X %o %#x %#o", {255, 255, 8, 255, 8}), "ff FF 10 0xff 010");
    EXPECT_EQ(formatText("[%5d] [%-5d] [%05d] [%+d] [% d]", {42, 42, -42, 42, 42}),
              "[   42] [42   ] [-0042] [+42] [ 42]");
    EXPECT_EQ(formatText("[%.3d] [%5.3d] [%*d] [%.*d]", {7, 7, 4, 7, 2, 7}),
              "[007] [  007] [   7] [07]");
    EXPECT_EQ(formatText("%lld", {std::numeric_limits<std::int64_t>::min()}),
              "-9223372036854775808");
    EXPECT_EQ(formatText("%llu", {std::numeric_limits<std::uint64_t>::max()}),
              "18446744073709551615");
    EXPECT_EQ(formatText("%p", {255}), "0xff");
}

TEST(Format, UnsignedConversionsSeeTheBitsOfNegativeNumbers) {
    EXPECT_EQ(formatText("%u %x %hhx %hx", {-1, -1, -1, -1}), "4294967295 ffffffff ff ffff");
    EXPECT_EQ(formatText("%lu", {-1L}), "18446744073709551615");
}

TEST(Format, WritesRealNumbers) {
    EXPECT_EQ(formatText("%f %0.2f %.0f %e %g", {1.5, 7.999, 2.5, 12345.678, 0.0001}),
              "1.500000 8.00 2 1.234568e+04 0.0001");
    EXPECT_EQ(formatText("[%8.2f] [%-8.2f] [%08.2f]", {-1.25, 1.25, -1.25}),
              "[   -1.25] [1.25    ] [-0001.25]");
    EXPECT_EQ(formatText("%a %A", {1.0, 10.0}), "0x1p+0 0X1.4P+3");
    EXPECT_EQ(formatText("%f %05f %d", {std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(),
                                        std::numeric_limits<double>::quiet_NaN()}),
              "inf  -inf nan");
}

TEST(Format, WritesCharacters) {
    EXPECT_EQ(formatText("%c%c%C", {'a', 98, 0x20AC}), "ab\xE2\x82\xAC");
    EXPECT_EQ(formatText("%C %C", {0x1F600, 0xD800}), "\xF0\x9F\x98\x80 \xEF\xBF\xBD");
    EXPECT_EQ(formatText("%c", {0}), std::string(1, '\0'));
}

TEST(Format, CutsAndFillsTextByCharacters) {
    EXPECT_EQ(formatText("[%5@] [%-5s] [%.2s] [%5.2@]", {"ab", "ab", "abc", "\xC3\xA9\xC3\xA9x"}),
              "[   ab] [ab   ] [ab] [   \xC3\xA9\xC3\xA9]");
}

TEST(Format, ByteStringsEndAtTheirNul) {
    const std::string text("a\0b", 3);
    EXPECT_EQ(formatText("%s", {text}), "a");
    EXPECT_EQ(formatText("%@", {text}), text);
}

TEST(Format, ConvertsValuesOfAnotherType) {
    EXPECT_EQ(formatText("%d %f %c", {"text", "text", "text"}), "text text text");
    EXPECT_EQ(formatText("%s %f %d %d", {12, 3, 2.9, -2.9}), "12 3.000000 2 -2");
    EXPECT_EQ(formatText("%d %d", {1e300, -1e300}), "9223372036854775807 -9223372036854775808");
}

TEST(Format, KeepsPercentSignsAndUnknownConversions) {
    EXPECT_EQ(formatText("100%% of %@%%", {"it"}), "100% of it%");
    EXPECT_EQ(formatText("%y %", {}), "%y %");
    EXPECT_EQ(formatText("%", {1}), "%");
    EXPECT_EQ(formatText("%5", {1}), "%5");
    EXPECT_EQ(formatText("%n", {1}), "%n");
    EXPECT_EQ(formatText("%y%@", {"x"}), "%yx");
}

TEST(Format, LimitsWidthsAndPrecisions) {
    EXPECT_EQ(formatText("%99999999999999999999d", {1}).size(), 500U);
    EXPECT_EQ(formatText("%.99999999999999999999d", {1}).size(), 500U);
    EXPECT_EQ(formatText("%.2147483647f", {1.0}).size(), 502U);
    EXPECT_EQ(formatText("%*d", {std::numeric_limits<std::int64_t>::min(), 1}).size(), 500U);
    EXPECT_EQ(formatText("%*d", {"wide", 1}), "1");
    EXPECT_EQ(formatText("%.*s", {-1, "abc"}), "abc");
    EXPECT_EQ(formatText("%.500f", {std::numeric_limits<double>::max()}).size(), 810U);
}

TEST(Format, CopiesBytesThatAreNoTextAsTheyAre) {
    EXPECT_EQ(formatText("\xFF%@\xC3", {"\xFE"}), "\xFF\xFE\xC3");
}

TEST(Format, AppendsToAText) {
    std::string text = "before ";
    const FormatArgument value("x");
    appendFormatted(text, "%@", std::span(&value, 1));
    EXPECT_EQ(text, "before x");
}

} // namespace
} // namespace quorvane
