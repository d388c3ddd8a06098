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

} // namespace
} // namespace quorvane::platform::linux_
