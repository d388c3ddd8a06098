#include "platform/linux/percent_encoding.h"

#include <gtest/gtest.h>

namespace quorvane::platform::linux_ {
namespace {

TEST(PercentEncoding, KeepsWhatAddressesMayHave) {
    EXPECT_EQ(percentEncoded("/aZ09/-_.~"), "/aZ09/-_.~");
    EXPECT_EQ(percentEncoded("/a b%#?\n\xFF"), "/a%20b%25%23%3F%0A%FF");
    EXPECT_EQ(percentEncoded(std::string_view("\0", 1)), "%00");
    EXPECT_EQ(percentEncoded(""), "");
}

TEST(PercentEncoding, IsUndone) {
    EXPECT_EQ(percentDecoded("/a%20b%25%ff%FF"), "/a b%\xFF\xFF");
    EXPECT_EQ(percentDecoded(percentEncoded("/\xC3\xA9\x01\n")), "/\xC3\xA9\x01\n");
}

TEST(PercentEncoding, WhatIsNoneStays) {
    for (const char* text : {"%", "%4", "%4g", "%g4", "%%", "%-1", "% 1", "a%"})
        EXPECT_EQ(percentDecoded(text), text);
}

} // namespace
} // namespace quorvane::platform::linux_
