#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/platform/linux/access_lists.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/privileged_helper/helper_process.h"
#include "tests/platform/linux/privileged_helper/ownerless_volume.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::contentOf;
using quorvane::testing::HelperProcess;
using quorvane::testing::ScratchFolder;
namespace fs = std::filesystem;

/// A folder that belongs to an ordinary user.
Path usersFolder(const ScratchFolder& scratch, const char* name) {
    const Path folder = scratch.addFolder(name);
    EXPECT_EQ(::chown(folder.c_str(), testing::kOrdinaryUser, testing::kOrdinaryUser), 0);
    return folder;
}

TEST(Staging, CopiesIntoAFolderOfTheUser) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const auto file = scratch.addFile("source/deep/file", "content");
    ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
    const Path folder = usersFolder(scratch, "user's");
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "source", folder + "/copy"}), 0);
    EXPECT_EQ(contentOf(folder + "/copy/deep/file"), "content");
    struct stat status {};
    ASSERT_EQ(::stat((folder + "/copy/deep/file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & ALLPERMS, 0640U);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "nothing else is left there";
}

TEST(Staging, ReplacesAFileButNotThroughALink) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    scratch.addFile("new", "new");
    scratch.addFile("victim", "untouched");
    const Path folder = usersFolder(scratch, "user's");
    scratch.addFile("user's/file", "old");
    fs::create_symlink(scratch / "victim", folder + "/link");
    HelperProcess helper;
    for (const char* name : {"/file", "/link"}) {
        EXPECT_EQ(helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "new", folder + name}), 0);
        EXPECT_EQ(contentOf(folder + name), "new");
    }
    EXPECT_EQ(contentOf(scratch / "victim"), "untouched");
}

TEST(Staging, LeavesAFolderAtTheDestinationAlone) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    scratch.addFile("source/new");
    const Path folder = usersFolder(scratch, "user's");
    scratch.addFile("user's/copy/old");
    HelperProcess helper;
    EXPECT_EQ(helper.refusal({"/bin/cp", "-f", "-p", "-R", scratch / "source", folder + "/copy"}),
              EISDIR);
    EXPECT_TRUE(fs::exists(folder + "/copy/old"));
}

TEST(Staging, LeavesAFolderAloneThatOthersCanChange) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    scratch.addFile("source/deep/new");
    const Path copy = scratch.addFolder("root's/copy");
    const Path inner = usersFolder(scratch, "root's/copy/deep");
    HelperProcess helper;
    const auto refusal = [&] {
        return helper.refusal({"/bin/cp", "-f", "-p", "-R", scratch / "source", copy});
    };
    EXPECT_EQ(refusal(), EISDIR);
    ASSERT_EQ(::chown(inner.c_str(), 0, 0), 0);
    ASSERT_EQ(::chmod(inner.c_str(), 0775), 0);
    EXPECT_EQ(refusal(), EISDIR);
    EXPECT_TRUE(fs::is_empty(inner));
}

TEST(Staging, MergesIntoTheSuperusersOwnFolders) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    scratch.addFile("source/new", "new");
    scratch.addFile("root's/copy/old", "old");
    HelperProcess helper;
    EXPECT_EQ(
        helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "source", scratch / "root's/copy"}), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch / "root's"), {}), 1);
    EXPECT_EQ(contentOf(scratch / "root's/copy/new"), "new");
    EXPECT_EQ(contentOf(scratch / "root's/copy/old"), "old");
}

TEST(Staging, MovesFromVolumeToVolume) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const Path volume = scratch.addFolder("volume");
    scratch.addFile("item/deep/file", "content");
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", volume, "uid=65534");
        HelperProcess helper;
        EXPECT_EQ(helper.run({"/bin/mv", "-f", scratch / "item", volume + "/item"}), 0);
        EXPECT_EQ(contentOf(volume + "/item/deep/file"), "content");
        EXPECT_FALSE(fs::exists(scratch / "item"));
        EXPECT_EQ(std::distance(fs::directory_iterator(volume), {}), 1);
    });
}

TEST(Staging, CopiesTakeNoAccessListsFromTheFolderOfTheUser) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    QV_NEEDS_ACCESS_LISTS(scratch.path());
    ASSERT_EQ(::chmod(scratch.addFile("source/file").c_str(), 0640), 0);
    const Path folder = usersFolder(scratch, "user's");
    ASSERT_TRUE(testing::giveList(folder, testing::kDefaultList, testing::listFor(12345)));
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "source", folder + "/copy"}), 0);
    for (const char* item : {"/copy", "/copy/file"}) {
        EXPECT_FALSE(testing::hasAttribute(folder + item, testing::kAccessList)) << item;
        EXPECT_FALSE(testing::hasAttribute(folder + item, testing::kDefaultList)) << item;
    }
}

/// What is made in such a folder has its group, and folders hand that on.
TEST(Staging, WorksInFoldersThatPassOnTheirGroup) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const Path volume = scratch.addFolder("volume");
    scratch.addFile("item/file", "content");
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", volume, "uid=65534,gid=65534,mode=2775");
        HelperProcess helper;
        EXPECT_EQ(helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "item", volume + "/copy"}), 0);
        EXPECT_EQ(helper.run({"/bin/mv", "-f", scratch / "item", volume + "/item"}), 0);
        for (const char* item : {"/copy", "/item"}) {
            EXPECT_EQ(contentOf(volume + item + "/file"), "content");
            struct stat status {};
            ASSERT_EQ(::stat((volume + item).c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & ALLPERMS, 0755U);
            EXPECT_EQ(status.st_gid, 0U);
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(volume), {}), 2);
    });
}

TEST(Staging, WorksOnVolumesWithoutOwners) {
    if (!testing::OwnerlessVolume::isPossible()) GTEST_SKIP() << "needs file systems of its own";
    const ScratchFolder scratch;
    const Path volume = scratch.addFolder("volume");
    scratch.addFile("item/deep/file", "content");
    for (const uid_t owner : {0U, testing::kOrdinaryUser}) {
        testing::inPrivateMounts([&] {
            const Path disk = scratch.addFolder("disk" + std::to_string(owner));
            const testing::OwnerlessVolume mounted(disk, volume, owner);
            HelperProcess helper;
            EXPECT_EQ(helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "item", volume + "/copy"}),
                      0);
            EXPECT_EQ(helper.run({"/bin/mv", "-f", scratch / "item", volume + "/item"}), 0);
            EXPECT_EQ(contentOf(disk + "/copy/deep/file"), "content");
            EXPECT_EQ(contentOf(disk + "/item/deep/file"), "content");
            EXPECT_FALSE(fs::exists(scratch / "item"));
            EXPECT_EQ(std::distance(fs::directory_iterator(disk), {}), 2);
            EXPECT_EQ(helper.run({"/bin/mv", "-f", volume + "/item", scratch / "item"}), 0);
        });
    }
}

TEST(Staging, ThatFailsLeavesNothingOnVolumesWithoutOwnersEither) {
    if (!testing::OwnerlessVolume::isPossible()) GTEST_SKIP() << "needs file systems of its own";
    const ScratchFolder scratch;
    const Path disk = scratch.addFolder("disk");
    const Path volume = scratch.addFolder("volume");
    scratch.addFile("item/file");
    fs::create_symlink("file", scratch / "item/link"); // which it cannot keep
    testing::inPrivateMounts([&] {
        const testing::OwnerlessVolume mounted(disk, volume, testing::kOrdinaryUser);
        HelperProcess helper;
        helper.run({"/bin/mv", "-f", scratch / "item", volume + "/item"});
        EXPECT_TRUE(fs::is_empty(disk));
        EXPECT_TRUE(fs::exists(scratch / "item/file"));
    });
}

TEST(Staging, OfAMoveThatFailsLeavesTheItemInItsPlace) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const Path volume = scratch.addFolder("volume");
    scratch.addFile("item/file", std::string(200000, 'x'));
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", volume, "uid=65534,size=64k");
        HelperProcess helper;
        helper.run({"/bin/mv", "-f", scratch / "item", volume + "/item"});
        EXPECT_EQ(contentOf(scratch / "item/file").size(), 200000U);
        EXPECT_TRUE(fs::is_empty(volume));
    });
}

} // namespace
} // namespace quorvane::platform::linux_::helper
