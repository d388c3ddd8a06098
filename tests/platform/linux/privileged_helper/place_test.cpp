#include "platform/linux/privileged_helper/place.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::ScratchFolder;
namespace fs = std::filesystem;

int errorOf(const std::string& operand) {
    return openPlace(operand.c_str(), MakeMissing::no).error;
}

TEST(Place, IsTheNameInItsFolder) {
    const ScratchFolder scratch;
    const auto file = scratch.addFile("a b/ö\n");
    const Place place = openPlace(file.c_str(), MakeMissing::no);
    EXPECT_EQ(place.error, 0);
    EXPECT_STREQ(place.name, "ö\n");
    struct stat status {};
    EXPECT_TRUE(place.status(status));
    EXPECT_TRUE(S_ISREG(status.st_mode));
}

TEST(Place, OfAnItemInTheRootFolder) {
    const Place place = openPlace("/usr", MakeMissing::no);
    EXPECT_EQ(place.error, 0);
    EXPECT_STREQ(place.name, "usr");
}

TEST(Place, IsOfTheLinkItselfWhereTheItemIsOne) {
    const ScratchFolder scratch;
    fs::create_symlink("target", scratch / "link");
    const auto operand = scratch / "link";
    const Place place = openPlace(operand.c_str(), MakeMissing::no);
    struct stat status {};
    ASSERT_TRUE(place.status(status));
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST(Place, IsRefusedBehindALink) {
    const ScratchFolder scratch;
    scratch.addFolder("real/below");
    fs::create_symlink("real", scratch / "link");
    fs::create_symlink("loop", scratch / "loop");
    EXPECT_EQ(errorOf(scratch / "link/x"), ELOOP);
    EXPECT_EQ(errorOf(scratch / "link/below/x"), ELOOP);
    EXPECT_EQ(errorOf(scratch / "loop/x"), ELOOP);
    EXPECT_EQ(errorOf("/proc/self/cwd/x"), ELOOP);
    EXPECT_EQ(errorOf("/proc/self/fd/0/x"), ELOOP);
}

TEST(Place, NeedsItsFolders) {
    const ScratchFolder scratch;
    scratch.addFile("file");
    EXPECT_EQ(errorOf(scratch / "none/x"), ENOENT);
    EXPECT_EQ(errorOf(scratch / "file/x"), ENOTDIR);
}

TEST(Place, MakesMissingFoldersIfAsked) {
    const ScratchFolder scratch;
    const auto operand = scratch / "a/b/c";
    const Place place = openPlace(operand.c_str(), MakeMissing::yes);
    EXPECT_EQ(place.error, 0);
    EXPECT_TRUE(fs::is_directory(scratch / "a/b"));
    EXPECT_FALSE(fs::exists(scratch / "a/b/c"));
}

TEST(Place, MakesNothingBehindALink) {
    const ScratchFolder scratch;
    scratch.addFolder("real");
    fs::create_symlink("real", scratch / "link");
    fs::create_symlink("absent", scratch / "dangling");
    for (const char* name : {"link", "dangling"}) {
        const auto operand = scratch / name + "/b/c";
        EXPECT_EQ(openPlace(operand.c_str(), MakeMissing::yes).error, ELOOP) << name;
    }
    EXPECT_TRUE(fs::is_empty(scratch / "real"));
    EXPECT_FALSE(fs::exists(scratch / "absent"));
}

TEST(Place, TakesNamesOfFullLengthAndNoLonger) {
    const ScratchFolder scratch;
    const std::string longest(255, 'x');
    scratch.addFolder(longest);
    EXPECT_EQ(errorOf(scratch / (longest + "/" + longest)), 0);
    EXPECT_EQ(errorOf(scratch / (longest + "x/y")), ENAMETOOLONG);
    EXPECT_EQ(errorOf(scratch / (longest + "/" + longest + "x")), ENAMETOOLONG);
}

} // namespace
} // namespace quorvane::platform::linux_::helper
