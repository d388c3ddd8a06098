// Copying and moving what is large, deep, odd or protected, onto disks that are full, read-only or
// others.
#include <array>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/file_copying_fixture.h"
#include "tests/platform/linux/folder_chain.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using platform::linux_::Descriptor;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kMiB = 1024UL * 1024;

TEST_F(FileCopying, KeepsHoles) {
    scratch_.addFile("sparse", "begin");
    fs::resize_file(scratch_ / "sparse", 64 * kMiB);
    {
        std::fstream file(scratch_ / "sparse", std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(32 * kMiB);
        file << "middle";
    }
    ASSERT_TRUE(copy("sparse", "copy").ok());
    EXPECT_EQ(statusOf("copy").st_size, static_cast<off_t>(64 * kMiB));
    EXPECT_LT(statusOf("copy").st_blocks * 512, static_cast<off_t>(kMiB));
    EXPECT_EQ(contentOf(scratch_ / "copy"), contentOf(scratch_ / "sparse"));
}

TEST_F(FileCopying, CopiesLargeFilesWholeOntoOtherVolumesToo) {
    QV_NEEDS_SUPERUSER();
    std::string content(3 * kMiB + 17, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7 / 5);
    scratch_.addFile("large", content);
    scratch_.addFile("empty");
    ASSERT_TRUE(copy("large", "copy").ok());
    EXPECT_EQ(contentOf(scratch_ / "copy"), content);
    inPrivateMounts([&] {
        addVolume("volume", "size=8m");
        EXPECT_TRUE(copy("large", "volume/copy").ok());
        EXPECT_EQ(contentOf(scratch_ / "volume/copy"), content);
        EXPECT_TRUE(copy("empty", "volume/empty").ok());
        EXPECT_EQ(fs::file_size(scratch_ / "volume/empty"), 0U);
    });
}

TEST_F(FileCopying, CopiesFilesThatTheKernelMakesUp) {
    ASSERT_TRUE(files_->copyItem("/proc/filesystems", scratch_ / "copy").ok());
    EXPECT_EQ(contentOf(scratch_ / "copy"), contentOf("/proc/filesystems"));
}

TEST_F(FileCopying, KeepsModesTimesAndAttributesOfFolders) {
    scratch_.addFile("tree/closed/file");
    ASSERT_EQ(setxattr((scratch_ / "tree").c_str(), "user.label", "red", 3, 0), 0);
    fs::permissions(scratch_ / "tree/closed", fs::perms::owner_read | fs::perms::owner_exec);
    const std::array<timespec, 2> times = {timespec{1, 2}, timespec{1'000'000'000, 123'456'789}};
    ASSERT_EQ(utimensat(AT_FDCWD, (scratch_ / "tree/closed").c_str(), times.data(), 0), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, (scratch_ / "tree").c_str(), times.data(), 0), 0);
    ASSERT_TRUE(copy("tree", "copy").ok());
    EXPECT_EQ(statusOf("copy/closed").st_mode & 07777U, 0500U);
    for (const char* folder : {"copy", "copy/closed"}) {
        EXPECT_EQ(statusOf(folder).st_mtim.tv_sec, 1'000'000'000) << folder;
        EXPECT_EQ(statusOf(folder).st_mtim.tv_nsec, 123'456'789) << folder;
    }
    std::array<char, 8> value{};
    EXPECT_EQ(getxattr((scratch_ / "copy").c_str(), "user.label", value.data(), value.size()), 3);
}

TEST_F(FileCopying, MakesFifosAndSocketsAnewWithoutOpeningThem) {
    scratch_.addFolder("odd");
    ASSERT_EQ(mkfifo((scratch_ / "odd/fifo").c_str(), 0620), 0);
    ASSERT_EQ(mknod((scratch_ / "odd/socket").c_str(), S_IFSOCK | 0600, 0), 0);
    fs::create_symlink("fifo", scratch_ / "odd/link");
    ASSERT_TRUE(copy("odd", "copy").ok());
    EXPECT_TRUE(S_ISFIFO(statusOf("copy/fifo").st_mode));
    EXPECT_EQ(statusOf("copy/fifo").st_mode & 07777U, statusOf("odd/fifo").st_mode & 07777U);
    EXPECT_TRUE(S_ISSOCK(statusOf("copy/socket").st_mode));
    EXPECT_EQ(statusOf("copy/link").st_mtim.tv_nsec, statusOf("odd/link").st_mtim.tv_nsec);
}

TEST_F(FileCopying, CopiesTenThousandLevelsWithFewDescriptors) {
    addChain(scratch_.addFolder("deep"), 10'000, ChainHolds::foldersAndFiles);
    {
        const FewDescriptors few(128);
        EXPECT_TRUE(copy("deep", "copy").ok());
    }
    EXPECT_TRUE(files_->removeItem(scratch_ / "deep").ok());
    EXPECT_TRUE(files_->removeItem(scratch_ / "copy").ok());
}

TEST_F(FileCopying, CopiesAReadOnlyFolderDeeperThanAPathCanName) {
    addChain(scratch_.addFolder("deep"), 3'000, ChainHolds::folders);
    {
        const Descriptor leaf = openDeepest(scratch_ / "deep", 3'000);
        ASSERT_EQ(fchmod(leaf.get(), 0555), 0);
    }
    EXPECT_TRUE(copy("deep", "copy").ok());
    struct stat leaf {};
    EXPECT_EQ(fstat(openDeepest(scratch_ / "copy", 3'000).get(), &leaf), 0);
    EXPECT_EQ(leaf.st_mode & 07777U, 0555U);
    EXPECT_TRUE(files_->removeItem(scratch_ / "deep").ok());
    EXPECT_TRUE(files_->removeItem(scratch_ / "copy").ok());
}

TEST_F(FileCopying, OntoAFullDiskLeavesNothing) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFile("tree/small", "small");
    scratch_.addFile("tree/closed/small", "small");
    scratch_.addFile("tree/large", std::string(2 * kMiB, 'x'));
    fs::permissions(scratch_ / "tree/closed", fs::perms::owner_read | fs::perms::owner_exec);
    inPrivateMounts([&] {
        addVolume("volume");
        EXPECT_EQ(copy("tree", "volume/copy").error().text, "No space left on device");
        EXPECT_EQ(copy("tree/large", "volume/copy").error().code, ENOSPC);
        EXPECT_EQ(move("tree", "volume/copy").error().code, ENOSPC);
        EXPECT_THAT(names("volume"), IsEmpty());
        EXPECT_TRUE(contains("tree/closed/small"));
        EXPECT_TRUE(contains("tree/large"));
    });
}

TEST_F(FileCopying, OntoAReadOnlyDiskFails) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFile("file", "content");
    inPrivateMounts([&] {
        addVolume("volume");
        scratch_.addFile("volume/file", "content");
        remountReadOnly(scratch_ / "volume");
        EXPECT_EQ(copy("file", "volume/copy").error().text, "Read-only file system");
        EXPECT_EQ(move("file", "volume/copy").error().code, EROFS);
        EXPECT_EQ(move("volume/file", "moved").error().code, EROFS);
        EXPECT_FALSE(contains("moved"));
        EXPECT_TRUE(copy("volume/file", "copy").ok());
        EXPECT_TRUE(contains("file"));
    });
}

TEST_F(FileCopying, EndsWhereItMeetsItselfByAnotherMount) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFolder("view");
    inPrivateMounts([&] {
        addVolume("volume"); // which a copy of the copy would fill
        scratch_.addFile("volume/tree/below/file", "content");
        scratch_.addFolder("volume/tree/shown");
        scratch_.addFolder("volume/beside");
        bindFolder(scratch_ / "volume/tree/below", scratch_ / "view");
        EXPECT_EQ(copy("volume/tree", "view/copy").error().code, EINVAL);
        EXPECT_THAT(names("view"), ElementsAre("file"));
        EXPECT_EQ(move("volume/tree", "view/moved").error().code, EINVAL);
        EXPECT_THAT(names("view"), ElementsAre("file"));
        bindFolder(scratch_ / "volume/beside", scratch_ / "volume/tree/shown");
        EXPECT_EQ(copy("volume/tree", "volume/beside/copy").error().code, EINVAL);
        EXPECT_THAT(names("volume/beside"), IsEmpty());
        EXPECT_EQ(contentOf(scratch_ / "volume/tree/below/file"), "content");
    });
}

TEST_F(FileCopying, MovesOntoOtherVolumes) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFile("tree/a/file", "content");
    fs::create_symlink("a", scratch_ / "tree/link");
    scratch_.addFile("taken");
    inPrivateMounts([&] {
        addVolume("volume");
        EXPECT_TRUE(move("tree", "volume/moved").ok());
        EXPECT_FALSE(contains("tree"));
        EXPECT_EQ(contentOf(scratch_ / "volume/moved/link/file"), "content");
        EXPECT_EQ(move("volume/moved", "taken").error().code, EEXIST);
        EXPECT_TRUE(contains("volume/moved/a/file"));
        EXPECT_TRUE(move("volume/moved", "back").ok());
        EXPECT_THAT(names("volume"), IsEmpty());
        EXPECT_EQ(contentOf(scratch_ / "back/a/file"), "content");
    });
}

TEST_F(FileCopying, WhatCannotBeDeletedIsNotMovedOntoOtherVolumes) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        addVolume("volume", "size=1m,mode=1777");
        asOrdinaryUser(scratch_.path(), [&] {
            scratch_.addFile("fixed/tree/file", "content");
            fs::permissions(scratch_ / "fixed", fs::perms::owner_read | fs::perms::owner_exec);
            EXPECT_EQ(move("fixed/tree", "volume/moved").error().text, "Permission denied");
            EXPECT_THAT(names("volume"), IsEmpty());
            EXPECT_TRUE(contains("fixed/tree/file"));
            // Nor if that is only so for something deep inside: no half of a move is made.
            scratch_.addFile("outer/free", "content");
            fs::permissions(scratch_ / "fixed", fs::perms::owner_all);
            fs::rename(scratch_ / "fixed", scratch_ / "outer/fixed");
            fs::permissions(scratch_ / "outer/fixed",
                            fs::perms::owner_read | fs::perms::owner_exec);
            EXPECT_EQ(move("outer", "volume/moved").error().text, "Permission denied");
            EXPECT_THAT(names("volume"), IsEmpty());
            EXPECT_TRUE(contains("outer/free"));
            EXPECT_TRUE(contains("outer/fixed/tree/file"));
            fs::permissions(scratch_ / "outer/fixed", fs::perms::owner_all);
            EXPECT_TRUE(move("outer", "volume/moved").ok());
            EXPECT_FALSE(contains("outer"));
        });
    });
}

TEST_F(FileCopying, WhatIsMountedIsNotMovedOntoOtherVolumes) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFile("shown/file", "content");
    for (const char* tree : {"file", "folder", "disk"})
        scratch_.addFile(tree + std::string("/below/free"), "content");
    scratch_.addFile("file/below/mounted");
    scratch_.addFolder("folder/below/mounted");
    inPrivateMounts([&] {
        addVolume("volume");
        addVolume("disk/below/mounted");
        bindFolder(scratch_ / "shown", scratch_ / "folder/below/mounted");
        bindFolder(scratch_ / "shown/file", scratch_ / "file/below/mounted");
        for (const std::string tree : {"file", "folder", "disk"}) {
            EXPECT_EQ(move(tree, "volume/moved").error().text, "Device or resource busy") << tree;
            EXPECT_EQ(move(tree + "/below/mounted", "volume/moved").error().code, EBUSY) << tree;
            EXPECT_THAT(names("volume"), IsEmpty()) << tree;
            EXPECT_TRUE(contains(tree + "/below/free")) << tree;
            EXPECT_TRUE(copy(tree, "volume/" + tree).ok()) << tree;
            EXPECT_TRUE(files_->removeItem(scratch_ / ("volume/" + tree)).ok()) << tree;
        }
        EXPECT_EQ(contentOf(scratch_ / "shown/file"), "content");
    });
}

TEST_F(FileCopying, AFailureAmongReadOnlyFoldersLeavesNothing) {
    asOrdinaryUser(scratch_.path(), [&] {
        scratch_.addFile("tree/a/readOnly/file");
        scratch_.addFile("tree/b/secret");
        fs::permissions(scratch_ / "tree/b/secret", fs::perms::none);
        for (const char* folder : {"tree/a/readOnly", "tree/a", "tree/b"})
            fs::permissions(scratch_ / folder, fs::perms::owner_read | fs::perms::owner_exec);
        scratch_.addFolder("to");
        EXPECT_EQ(copy("tree", "to/copy").error().text, "Permission denied");
        EXPECT_THAT(names("to"), IsEmpty());
        fs::permissions(scratch_ / "tree/b/secret", fs::perms::owner_all);
        EXPECT_TRUE(copy("tree", "to/copy").ok());
        EXPECT_EQ(statusOf("to/copy/a/readOnly").st_mode & 0777U, 0500U);
        for (const char* folder : {"tree/a", "tree/b", "tree/a/readOnly", "to/copy/a", "to/copy/b",
                                   "to/copy/a/readOnly"})
            fs::permissions(scratch_ / folder, fs::perms::owner_all);
    });
}

TEST_F(FileCopying, DropsSetIdBitsWithTheOwner) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFile("tool");
    ASSERT_EQ(chmod((scratch_ / "tool").c_str(), 06755), 0);
    ASSERT_TRUE(copy("tool", "roots").ok());
    EXPECT_EQ(statusOf("roots").st_mode & 07777U,
              honoursSetIds(scratch_ / "tool") ? 06755U : 0755U);
    asOrdinaryUser(scratch_.path(), [&] {
        ASSERT_TRUE(copy("tool", "users").ok());
        EXPECT_EQ(statusOf("users").st_mode & 07777U, 0755U);
        EXPECT_EQ(statusOf("users").st_uid, kOrdinaryUser);
    });
}

TEST_F(FileCopying, CopiesNamesOfTheGreatestLength) {
    const std::string longest(255, 'n');
    scratch_.addFile(longest + "/" + longest, "content");
    ASSERT_TRUE(copy(longest, std::string(255, 'm')).ok());
    EXPECT_EQ(contentOf(scratch_ / (std::string(255, 'm') + "/" + longest)), "content");
    EXPECT_EQ(copy(longest, longest + "n").error().code, ENAMETOOLONG);
}

} // namespace
} // namespace quorvane::testing
