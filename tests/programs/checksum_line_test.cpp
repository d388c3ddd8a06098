#include "programs/checksum_line.h"

#include <gtest/gtest.h>

namespace quorvane::programs {
namespace {

TEST(ChecksumLine, IsTheDigestTwoSpacesAndTheName) {
    EXPECT_EQ(checksumLine("d41d", "a file"), "d41d  a file\n");
    EXPECT_EQ(checksumLine("d41d", "-a"), "d41d  -a\n");
    EXPECT_EQ(checksumLine("d41d", "-"), "d41d  ./-\n");
    EXPECT_EQ(checksumLine("d41d", " *a "), "d41d   *a \n");
}

TEST(ChecksumLine, EscapesWhatWouldBreakIt) {
    EXPECT_EQ(checksumLine("d41d", "a\nb"), "\\d41d  a\\nb\n");
    EXPECT_EQ(checksumLine("d41d", "a\rb"), "\\d41d  a\\rb\n");
    EXPECT_EQ(checksumLine("d41d", "a\\b"), "\\d41d  a\\\\b\n");
    EXPECT_EQ(checksumLine("d41d", "\\n\n"), "\\d41d  \\\\n\\n\n");
}

TEST(ChecksumLine, LeavesOtherBytesAsTheyAre) {
    EXPECT_EQ(checksumLine("d41d", "\t\xff\xc3\xa4\x1b"), "d41d  \t\xff\xc3\xa4\x1b\n");
}

} // namespace
} // namespace quorvane::programs
