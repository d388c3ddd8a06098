// What copies must not have from their folder, nor from a volume that gives it no effect.
#include <array>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/platform/linux/access_lists.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/file_copying_fixture.h"

namespace quorvane::testing {
namespace {

using ::testing::IsEmpty;
using KeptAttributes = FileCopying;

/// A folder in which the ordinary user is given all that new items let through.
Path sharedFolder(const ScratchFolder& scratch, const char* name) {
    Path folder = scratch.addFolder(name);
    EXPECT_EQ(chmod(scratch.path().c_str(), 0755), 0);
    EXPECT_EQ(chmod(folder.c_str(), 0755), 0);
    EXPECT_TRUE(giveList(folder, kDefaultList, listFor(kOrdinaryUser)));
    return folder;
}

/// Who the user of the other tests is has no right to read the item.
void expectSecret(const Path& item) {
    const ScratchFolder theirs;
    asOrdinaryUser(theirs.path(), [&] {
        EXPECT_NE(access(item.c_str(), R_OK), 0) << item;
        EXPECT_EQ(errno, EACCES);
    });
}

TEST_F(KeptAttributes, TakesNoAccessListsFromTheFolderOfTheCopy) {
    QV_NEEDS_SUPERUSER();
    QV_NEEDS_ACCESS_LISTS(scratch_.path());
    scratch_.addFile("tree/deep/file", "secret");
    scratch_.addFile("file", "secret");
    ASSERT_EQ(mkfifo((scratch_ / "fifo").c_str(), 0600), 0);
    for (const char* item : {"tree/deep/file", "file", "fifo"})
        ASSERT_EQ(chmod((scratch_ / item).c_str(), 0660), 0);
    for (const char* folder : {"tree", "tree/deep"})
        ASSERT_EQ(chmod((scratch_ / folder).c_str(), 0770), 0);
    sharedFolder(scratch_, "shared");
    for (const std::string item : {"tree", "file", "fifo"})
        ASSERT_TRUE(copy(item, "shared/" + item).ok()) << item;
    for (const char* item : {"shared/tree", "shared/tree/deep", "shared/tree/deep/file",
                             "shared/file", "shared/fifo"}) {
        EXPECT_FALSE(hasAttribute(scratch_ / item, kAccessList)) << item;
        EXPECT_FALSE(hasAttribute(scratch_ / item, kDefaultList)) << item;
        expectSecret(scratch_ / item);
    }
    EXPECT_EQ(statusOf("shared/file").st_mode & 07777U, 0660U);
    EXPECT_EQ(statusOf("shared/tree/deep").st_mode & 07777U, 0770U);
}

TEST_F(KeptAttributes, TakesNoAccessListsOntoOtherVolumesEither) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFile("tree/file", "secret");
    ASSERT_EQ(chmod((scratch_ / "tree/file").c_str(), 0640), 0);
    inPrivateMounts([&] {
        addVolume("volume");
        QV_NEEDS_ACCESS_LISTS(scratch_ / "volume");
        sharedFolder(scratch_, "volume/shared");
        ASSERT_TRUE(move("tree", "volume/shared/tree").ok());
        EXPECT_FALSE(hasAttribute(scratch_ / "volume/shared/tree", kDefaultList));
        EXPECT_FALSE(hasAttribute(scratch_ / "volume/shared/tree/file", kAccessList));
        expectSecret(scratch_ / "volume/shared/tree/file");
    });
}

TEST_F(KeptAttributes, KeepsTheAccessListsOfTheSource) {
    QV_NEEDS_SUPERUSER();
    QV_NEEDS_ACCESS_LISTS(scratch_.path());
    scratch_.addFile("tree/file");
    ASSERT_EQ(mkfifo((scratch_ / "tree/fifo").c_str(), 0600), 0);
    ASSERT_TRUE(giveList(scratch_ / "tree", kDefaultList, listFor(123)));
    for (const char* item : {"tree", "tree/file", "tree/fifo"})
        ASSERT_TRUE(giveList(scratch_ / item, kAccessList, listFor(456, 4)));
    sharedFolder(scratch_, "shared");
    ASSERT_TRUE(copy("tree", "shared/copy").ok());
    const auto list = [&](std::string_view item, const char* kind) {
        std::array<char, 256> bytes{};
        const ssize_t size = getxattr((scratch_ / item).c_str(), kind, bytes.data(), bytes.size());
        return std::string(bytes.data(), size < 0 ? 0 : static_cast<std::size_t>(size));
    };
    EXPECT_EQ(list("shared/copy", kDefaultList), listFor(123));
    for (const char* item : {"shared/copy", "shared/copy/file", "shared/copy/fifo"})
        EXPECT_EQ(list(item, kAccessList), listFor(456, 4)) << item;
}

/// The group's part of a mode is the mask of a list; without the list it is the owning group's own.
TEST_F(KeptAttributes, GivesTheGroupNoMoreWhereAListCannotBeKept) {
    QV_NEEDS_SUPERUSER();
    QV_NEEDS_ACCESS_LISTS(scratch_.path());
    for (const char* item : {"tree/file", "tree/readable"}) {
        scratch_.addFile(item);
        ASSERT_TRUE(giveList(scratch_ / item, kAccessList, listFor(456)));
    }
    ASSERT_TRUE(giveList(scratch_ / "tree", kAccessList, listFor(456)));
    ASSERT_EQ(statusOf("tree/file").st_mode & 0777U, 0770U);
    inPrivateMounts([&] {
        mountVolume("ramfs", scratch_.addFolder("volume"));
        if (giveList(scratch_ / "volume", kAccessList, listFor(456)))
            GTEST_SKIP() << "this file system keeps lists too";
        ASSERT_TRUE(copy("tree", "volume/tree").ok());
        EXPECT_EQ(statusOf("volume/tree").st_mode & 0777U, 0700U);
        EXPECT_EQ(statusOf("volume/tree/file").st_mode & 0777U, 0700U);
    });
}

TEST_F(KeptAttributes, CopiesWhatAnUntrustedVolumeGivesNoEffectWithoutIt) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        mountUntrustedVolume(scratch_.addFolder("volume"));
        const Path tool = scratch_.addFile("volume/tree/tool", "program");
        ASSERT_EQ(chmod(tool.c_str(), 06755), 0);
        ASSERT_EQ(chmod((scratch_ / "volume/tree").c_str(), 02775), 0);
        const Path capable = scratch_.addFile("volume/tree/capable", "program");
        giveCapability(capable);
        ASSERT_EQ(setxattr(capable.c_str(), "trusted.note", "x", 1, 0), 0);
        ASSERT_TRUE(copy("volume/tree", "copy").ok());
        EXPECT_EQ(statusOf("copy").st_mode & 07777U, 02775U) << "a folder runs nothing";
        ASSERT_TRUE(move("volume/tree", "moved").ok());
        for (const std::string tree : {"copy", "moved"}) {
            EXPECT_EQ(statusOf(tree + "/tool").st_mode & 07777U, 0755U);
            EXPECT_FALSE(hasAttribute(scratch_ / (tree + "/capable"), kCapability));
            EXPECT_FALSE(hasAttribute(scratch_ / (tree + "/capable"), "trusted.note"));
        }
    });
}

TEST_F(KeptAttributes, CopiesNoDevicesFromAnUntrustedVolume) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        mountUntrustedVolume(scratch_.addFolder("volume"));
        scratch_.addFile("volume/tree/file");
        ASSERT_EQ(mknod((scratch_ / "volume/tree/null").c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
        scratch_.addFolder("to");
        for (const char* source : {"volume/tree", "volume/tree/null"}) {
            EXPECT_EQ(copy(source, "to/copy").error().text, "Operation not permitted");
            EXPECT_EQ(move(source, "to/copy").error().code, EPERM);
            EXPECT_TRUE(contains(source));
        }
        EXPECT_THAT(names("to"), IsEmpty());
    });
}

/// Mounts may be nested: each file tells by itself.
TEST_F(KeptAttributes, KnowsAnUntrustedVolumeBelowATrustedOne) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        const Path tool = scratch_.addFile("tree/tool");
        ASSERT_EQ(chmod(tool.c_str(), 04755), 0);
        scratch_.addFile("tree/bound");
        mountUntrustedVolume(scratch_.addFolder("tree/volume"));
        ASSERT_EQ(chmod(scratch_.addFile("tree/volume/tool").c_str(), 04755), 0);
        bindFolder(scratch_ / "tree/volume/tool", scratch_ / "tree/bound");
        ASSERT_TRUE(copy("tree", "copy").ok());
        EXPECT_EQ(statusOf("copy/volume/tool").st_mode & 07777U, 0755U);
        EXPECT_EQ(statusOf("copy/bound").st_mode & 07777U, 0755U);
        EXPECT_EQ(statusOf("copy/tool").st_mode & 07777U, honoursSetIds(tool) ? 04755U : 0755U);
    });
}

} // namespace
} // namespace quorvane::testing
