#include "kit/base/components.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

TEST(Components, JoiningPutsExactlyOneSlash) {
    EXPECT_EQ(joinPath("/Library", "Caches"), "/Library/Caches");
    EXPECT_EQ(joinPath("/Library/", "Caches"), "/Library/Caches");
    EXPECT_EQ(joinPath("/Library//", "/Caches"), "/Library/Caches");
    EXPECT_EQ(joinPath("/", "Library"), "/Library");
    EXPECT_EQ(joinPath("", "Library"), "Library");
    EXPECT_EQ(joinPath("/Library", ""), "/Library");
}

TEST(Components, JoiningOntoNullIsNull) {
    EXPECT_EQ(joinPath(MaybePath(), "Caches"), std::nullopt);
    EXPECT_EQ(joinPath(MaybePath("/Library"), "Caches"), "/Library/Caches");
}

TEST(Components, TakesPathsApart) {
    EXPECT_EQ(lastComponent("/a/b.txt"), "b.txt");
    EXPECT_EQ(lastComponent("/a/b//"), "b");
    EXPECT_EQ(lastComponent("/"), "/");
    EXPECT_EQ(lastComponent(""), "");
    EXPECT_EQ(lastComponent("b"), "b");
    EXPECT_EQ(withoutLastComponent("/a/b.txt"), "/a");
    EXPECT_EQ(withoutLastComponent("/a//b/"), "/a");
    EXPECT_EQ(withoutLastComponent("/a"), "/");
    EXPECT_EQ(withoutLastComponent("a"), "");
}

TEST(Components, FindsExtensions) {
    EXPECT_EQ(pathExtension("/a/b.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("/a.d/b"), "");
    EXPECT_EQ(pathExtension("/a/.profile"), "");
    EXPECT_EQ(pathExtension("/a/b."), "");
    EXPECT_EQ(withoutExtension("/a/b.tar.gz"), "/a/b.tar");
    EXPECT_EQ(withoutExtension("/a.d/b"), "/a.d/b");
    EXPECT_EQ(withoutExtension("/a/.profile"), "/a/.profile");
    EXPECT_EQ(withoutExtension("/a/b."), "/a/b");
}

} // namespace
} // namespace quorvane
