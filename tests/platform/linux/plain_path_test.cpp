#include "platform/linux/plain_path.h"

#include <gtest/gtest.h>

namespace quorvane::platform::linux_ {
namespace {

TEST(PlainPath, HasNoSuperfluousSlashesAndDots) {
    EXPECT_EQ(plainPath("/a/b"), "/a/b");
    EXPECT_EQ(plainPath("//a///b//"), "/a/b");
    EXPECT_EQ(plainPath("/./a/././b/."), "/a/b");
    EXPECT_EQ(plainPath("/"), "/");
    EXPECT_EQ(plainPath("///./"), "/");
    EXPECT_EQ(plainPath("/a/...b/.c/d."), "/a/...b/.c/d.");
    EXPECT_EQ(plainPath("/a b/\n/\xff"), "/a b/\n/\xff");
}

TEST(PlainPath, KeepsWhatLeadsUp) {
    EXPECT_EQ(plainPath("/a/../b/./.."), "/a/../b/..");
    EXPECT_EQ(plainPath("/.."), "/..");
}

TEST(PlainPath, RelativeOnesStayAsTheyAre) {
    EXPECT_EQ(plainPath(""), "");
    EXPECT_EQ(plainPath("a//./b/"), "a//./b/");
}

TEST(PlainPath, IsKnown) {
    for (const char* path : {"/", "/a", "/a/..b/c.", "/a/.b"}) EXPECT_TRUE(isPlain(path)) << path;
    for (const char* path : {"", "a", "/a/", "//a", "/a//b", "/./a", "/a/.", "/a/..", "/../a"})
        EXPECT_FALSE(isPlain(path)) << path;
}

} // namespace
} // namespace quorvane::platform::linux_
