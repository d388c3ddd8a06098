// Copying and moving what is large, deep, odd or protected, onto disks that are full, read-only or
// others.
#include <array>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/file_manager.h"
#include "tests/platform/linux/access_lists.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/folder_chain.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using platform::linux_::Descriptor;
using ::testing::IsEmpty;

constexpr std::size_t kMiB = 1024UL * 1024;

class FileCopying : public ::testing::Test {
protected:
    platform::Result<void> copy(std::string_view source, std::string_view destination) {
        return files_->copyItem(scratch_ / source, scratch_ / destination);
    }
    platform::Result<void> move(std::string_view source, std::string_view destination) {
        return files_->moveItem(scratch_ / source, scratch_ / destination);
    }
    bool contains(std::string_view relative) const {
        return fs::symlink_status(scratch_ / relative).type() != fs::file_type::not_found;
    }
    struct stat statusOf(std::string_view relative) const {
        struct stat status {};
        EXPECT_EQ(lstat((scratch_ / relative).c_str(), &status), 0) << relative;
        return status;
    }
    /// What a folder holds, hidden names included.
    std::vector<std::string> names(std::string_view folder) {
        return files_->contentsOfDirectory(scratch_ / folder).value();
    }
    /// A volume of its own, in private mounts.
    void addVolume(const char* name, const std::string& options = "size=1m") {
        mountVolume("tmpfs", scratch_.addFolder(name), options);
    }

    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();
};

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

TEST_F(FileCopying, TakesNoAccessListsFromTheFolderOfTheCopy) {
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

TEST_F(FileCopying, TakesNoAccessListsOntoOtherVolumesEither) {
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

TEST_F(FileCopying, KeepsTheAccessListsOfTheSource) {
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
TEST_F(FileCopying, GivesTheGroupNoMoreWhereAListCannotBeKept) {
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

TEST_F(FileCopying, CopiesWhatAnUntrustedVolumeGivesNoEffectWithoutIt) {
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

TEST_F(FileCopying, CopiesNoDevicesFromAnUntrustedVolume) {
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
TEST_F(FileCopying, KnowsAnUntrustedVolumeBelowATrustedOne) {
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

TEST_F(FileCopying, CopiesNamesOfTheGreatestLength) {
    const std::string longest(255, 'n');
    scratch_.addFile(longest + "/" + longest, "content");
    ASSERT_TRUE(copy(longest, std::string(255, 'm')).ok());
    EXPECT_EQ(contentOf(scratch_ / (std::string(255, 'm') + "/" + longest)), "content");
    EXPECT_EQ(copy(longest, longest + "n").error().code, ENAMETOOLONG);
}

} // namespace
} // namespace quorvane::testing
