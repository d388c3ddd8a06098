#include "platform/linux/mount_table.h"

#include <cerrno>

#include <fcntl.h>

#include <gtest/gtest.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

using platform::linux_::checkHoldsNoMount;
using platform::linux_::currentMounts;
using platform::linux_::holdsMount;
using platform::linux_::Mount;
using platform::linux_::parseMounts;

TEST(MountTable, IsRead) {
    const auto mounts = parseMounts("22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                                    "40 22 8:1 /a\\040b /c\\012d rw - fuse.sshfs - rw\n"
                                    "no mount\n41 22 8:1 / /e rw\n\n");
    ASSERT_EQ(mounts.size(), 2U);
    EXPECT_EQ(mounts[0].id, 22U);
    EXPECT_EQ(mounts[0].parent, 1U);
    EXPECT_EQ(mounts[1].volume, "8:1");
    EXPECT_EQ(mounts[1].root, "/a b");
    EXPECT_EQ(mounts[1].point, "/c\nd");
    EXPECT_EQ(mounts[1].type, "fuse.sshfs");
}

class MountInFolder : public ::testing::Test {
protected:
    const std::vector<Mount> mounts_ =
        parseMounts("22 1 8:1 / / rw - ext4 x rw\n"
                    "30 22 8:2 / /disk rw - ext4 x rw\n"
                    "31 30 0:5 / /disk/folder/inner rw - tmpfs x rw\n"
                    "32 22 8:2 /folder /other rw - ext4 x rw\n"
                    "33 22 8:1 /var /mnt/var rw - ext4 x rw\n"
                    "34 33 0:6 / /mnt/var/lib rw - tmpfs x rw\n");
};

TEST_F(MountInFolder, IsFoundAtAndBelowIt) {
    EXPECT_TRUE(holdsMount(mounts_, 30, "/disk"));
    EXPECT_TRUE(holdsMount(mounts_, 30, "/disk/folder"));
    EXPECT_TRUE(holdsMount(mounts_, 31, "/disk/folder/inner"));
    EXPECT_TRUE(holdsMount(mounts_, 22, "/mnt"));
}

TEST_F(MountInFolder, IsNotFoundBesideIt) {
    for (const char* folder : {"/disk/fol", "/disk/folder/in", "/disk/folder/inner2", "/disk/a"})
        EXPECT_FALSE(holdsMount(mounts_, 30, folder)) << folder;
    EXPECT_FALSE(holdsMount(mounts_, 31, "/disk/folder/inner/below"));
    EXPECT_FALSE(holdsMount(mounts_, 22, "/folder/inner"));
    EXPECT_FALSE(holdsMount(mounts_, 22, "/usr"));
}

TEST_F(MountInFolder, IsFoundByEveryWayToTheFolder) {
    EXPECT_TRUE(holdsMount(mounts_, 22, "/var"));
    EXPECT_TRUE(holdsMount(mounts_, 22, "/var/lib"));
    EXPECT_TRUE(holdsMount(mounts_, 32, "/other/inner"));
    EXPECT_FALSE(holdsMount(mounts_, 32, "/other/a"));
}

TEST_F(MountInFolder, IsFoundByItsPathWhereTheMountOfTheRootIsNotTold) {
    EXPECT_TRUE(holdsMount(mounts_, 99, "/disk/folder"));
    EXPECT_FALSE(holdsMount(mounts_, 99, "/disk/fol"));
}

TEST(Mounts, AreThoseOfTheProcess) {
    const auto mounts = currentMounts();
    ASSERT_TRUE(mounts);
    EXPECT_FALSE(mounts.value().empty());
}

TEST(Mounts, KeepAFolder) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    scratch.addFolder("tree/a volume\n");
    scratch.addFile("tree/file");
    const auto check = [&](std::string_view name) {
        const auto checked = checkHoldsNoMount(AT_FDCWD, (scratch / name).c_str());
        return checked ? 0 : checked.error().code;
    };
    inPrivateMounts([&] {
        EXPECT_EQ(check("tree"), 0);
        mountVolume("tmpfs", scratch / "tree/a volume\n");
        EXPECT_EQ(check("tree"), EBUSY);
        EXPECT_EQ(check("tree/a volume\n"), EBUSY);
        EXPECT_EQ(check("tree/file"), 0);
        EXPECT_EQ(check("tree/missing"), 0);
    });
}

} // namespace
} // namespace quorvane::testing
