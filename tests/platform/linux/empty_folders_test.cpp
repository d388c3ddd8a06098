// Folders left empty that are deep, closed, mounted, changing, or not listed to their end.
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/empty_folders.h"
#include "platform/linux/file_manager.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/folder_chain.h"
#include "tests/platform/linux/scratch_folder.h"

namespace {

/// Whether listings break off after their first piece.
std::atomic<bool> listingsBreakOff = false;
/// What happens just before something is unlinked.
std::function<void(const char* name)> beforeUnlinking;

} // namespace

// These stand in for the C library's.
extern "C" ssize_t getdents64(int folder, void* buffer, std::size_t size) noexcept {
    // A file system may put as few entries in a piece as it likes.
    if (!listingsBreakOff) return syscall(SYS_getdents64, folder, buffer, size);
    if (lseek(folder, 0, SEEK_CUR) == 0) return syscall(SYS_getdents64, folder, buffer, 80);
    errno = EIO;
    return -1;
}

extern "C" int unlinkat(int folder, const char* name, int flags) noexcept {
    if (beforeUnlinking) beforeUnlinking(name);
    return static_cast<int>(syscall(SYS_unlinkat, folder, name, flags));
}

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

class EmptyFolders : public ::testing::Test {
protected:
    void TearDown() override {
        listingsBreakOff = false;
        beforeUnlinking = nullptr;
    }
    bool contains(std::string_view relative) const {
        return fs::symlink_status(scratch_ / relative).type() != fs::file_type::not_found;
    }
    int check(std::string_view relative) {
        return codeOf(files_->checkEmptyFolders(scratch_ / relative));
    }
    int remove(std::string_view relative) {
        return codeOf(files_->removeEmptyFolders(scratch_ / relative));
    }
    /// Acts once, just before the name is unlinked.
    static void before(const std::string& name, std::function<void()> act) {
        beforeUnlinking = [name, act = std::move(act)](const char* unlinked) {
            if (unlinked != name) return;
            const auto once = act;
            beforeUnlinking = nullptr;
            once();
        };
    }
    void expectRefused(std::string_view relative, int code) {
        EXPECT_EQ(check(relative), code) << relative;
        EXPECT_EQ(remove(relative), code) << relative;
    }

    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();

private:
    static int codeOf(const platform::Result<void>& done) { return done ? 0 : done.error().code; }
};

TEST_F(EmptyFolders, FiveThousandLevelsGoWithFewDescriptorsUnlessAFileLiesInTheLast) {
    constexpr int kDepth = 5'000;
    addChain(scratch_.addFolder("deep"), kDepth, ChainHolds::folders);
    const auto deepest = openDeepest(scratch_ / "deep", kDepth);
    ASSERT_EQ(mknodat(deepest.get(), "file", S_IFREG | 0600, 0), 0);
    {
        const FewDescriptors few(64);
        expectRefused("deep", ENOTEMPTY);
        ASSERT_EQ(unlinkat(deepest.get(), "file", 0), 0);
        EXPECT_EQ(check("deep"), 0);
        EXPECT_EQ(remove("deep"), 0);
    }
    EXPECT_FALSE(contains("deep"));
}

TEST_F(EmptyFolders, ManyGo) {
    for (int number = 0; number < 1'000; ++number)
        scratch_.addFile("wide/" + std::to_string(number) + std::string(200, 'n') + "/.DS_Store");
    EXPECT_EQ(remove("wide"), 0);
    EXPECT_FALSE(contains("wide"));
}

TEST_F(EmptyFolders, OfAnyNameGo) {
    for (const std::string& name :
         {std::string(255, 'n'), std::string("\xFF\xFE"), std::string("two\nlines"),
          std::string("-rf"), std::string("...")})
        scratch_.addFolder("d/" + name + "/" + name);
    EXPECT_EQ(remove("d"), 0);
    EXPECT_FALSE(contains("d"));
}

TEST_F(EmptyFolders, WhatIsNamedLikeMetadataButIsNoFileStays) {
    scratch_.addFolder("fifo");
    ASSERT_EQ(mkfifo((scratch_ / "fifo/.DS_Store").c_str(), 0600), 0);
    scratch_.addFolder("socket");
    ASSERT_EQ(mknod((scratch_ / "socket/Icon\r").c_str(), S_IFSOCK | 0600, 0), 0);
    scratch_.addFolder("link");
    fs::create_symlink("nowhere", scratch_ / "link/.DS_Store");
    for (const char* folder : {"fifo", "socket", "link"}) expectRefused(folder, ENOTEMPTY);
    EXPECT_TRUE(contains("fifo/.DS_Store"));
    EXPECT_TRUE(contains("socket/Icon\r"));
    EXPECT_TRUE(contains("link/.DS_Store"));
}

TEST_F(EmptyFolders, AFifoInTheFoldersPlaceIsNotWaitedFor) {
    ASSERT_EQ(mkfifo((scratch_ / "fifo").c_str(), 0600), 0);
    expectRefused("fifo", ENOTDIR);
    EXPECT_TRUE(contains("fifo"));
}

TEST_F(EmptyFolders, AFolderThatCannotBeListedKeepsAllAboveIt) {
    asOrdinaryUser(scratch_.path(), [&] {
        scratch_.addFolder("d/first");
        scratch_.addFile("d/.DS_Store");
        scratch_.addFile("d/one/closed/file", "kept");
        for (const fs::perms mode : {fs::perms::none, fs::perms::owner_exec, fs::perms::owner_read,
                                     fs::perms::owner_write}) {
            fs::permissions(scratch_ / "d/one/closed", mode);
            expectRefused("d", EACCES);
            expectRefused("d/one/closed", EACCES);
        }
        fs::permissions(scratch_ / "d/one/closed", fs::perms::owner_all);
        EXPECT_TRUE(contains("d/first"));
        EXPECT_TRUE(contains("d/.DS_Store"));
        EXPECT_TRUE(contains("d/one/closed/file"));
    });
}

TEST_F(EmptyFolders, NothingIsRemovedWhereAPartCannotBe) {
    asOrdinaryUser(scratch_.path(), [&] {
        scratch_.addFolder("d/a");
        scratch_.addFolder("d/z/below");
        scratch_.addFile("d/fixed/.DS_Store");
        fs::permissions(scratch_ / "d/fixed", fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_EQ(check("d"), 0);
        EXPECT_EQ(remove("d"), EACCES);
        for (const char* left : {"d/a", "d/z/below", "d/fixed/.DS_Store"})
            EXPECT_TRUE(contains(left)) << left;
        fs::permissions(scratch_ / "d/fixed", fs::perms::owner_all);
        // A folder that must stay keeps its metadata.
        fs::permissions(scratch_ / "d", fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_EQ(remove("d/fixed"), EACCES);
        EXPECT_TRUE(contains("d/fixed/.DS_Store"));
        fs::permissions(scratch_ / "d", fs::perms::owner_all);
    });
}

TEST_F(EmptyFolders, AListingThatBreaksOffIsNotItsEnd) {
    scratch_.addFolder("d");
    for (int number = 0; number < 20; ++number)
        scratch_.addFolder("d/some name " + std::to_string(number));
    listingsBreakOff = true;
    expectRefused("d", EIO);
    listingsBreakOff = false;
    EXPECT_EQ(files_->contentsOfDirectory(scratch_ / "d").value().size(), 20U);
}

TEST_F(EmptyFolders, WithoutDescriptorsNothingIsRemoved) {
    scratch_.addFolder("d/below");
    const Path folder = scratch_ / "d";
    platform::Result<void> removed;
    {
        const FewDescriptors none(0);
        // Not by the service: a sanitizer needs descriptors to check the objects of its calls.
        removed = platform::linux_::removeEmptyFolders(folder);
    }
    EXPECT_EQ(removed.error().code, EMFILE);
    EXPECT_TRUE(contains("d/below"));
}

TEST_F(EmptyFolders, WhatAppearsMeanwhileKeepsItsFolder) {
    scratch_.addFolder("d/below/deepest");
    scratch_.addFile("d/.DS_Store", "store");
    before("below", [&] { scratch_.addFile("d/below/film.mov", "kept"); });
    EXPECT_EQ(remove("d"), ENOTEMPTY);
    EXPECT_EQ(contentOf(scratch_ / "d/below/film.mov"), "kept");
    EXPECT_EQ(contentOf(scratch_ / "d/.DS_Store"), "store");
}

TEST_F(EmptyFolders, MetadataStaysWithWhatAppearsBesideIt) {
    scratch_.addFolder("d/below");
    scratch_.addFile("d/.DS_Store", "store");
    before("below", [&] { scratch_.addFile("d/film.mov", "kept"); });
    EXPECT_EQ(remove("d"), ENOTEMPTY);
    EXPECT_EQ(contentOf(scratch_ / "d/film.mov"), "kept");
    EXPECT_EQ(contentOf(scratch_ / "d/.DS_Store"), "store");
}

TEST_F(EmptyFolders, AFolderPutInTheMetadatasPlaceStays) {
    scratch_.addFile("d/.DS_Store");
    scratch_.addFile("other/film.mov", "kept");
    before(".DS_Store", [&] {
        fs::remove(scratch_ / "d/.DS_Store");
        fs::rename(scratch_ / "other", scratch_ / "d/.DS_Store");
    });
    EXPECT_NE(remove("d"), 0);
    EXPECT_EQ(contentOf(scratch_ / "d/.DS_Store/film.mov"), "kept");
}

TEST_F(EmptyFolders, WhatAnotherRemovesMeanwhileIsGone) {
    scratch_.addFolder("d/one/two");
    scratch_.addFile("d/one/.DS_Store");
    before("two", [&] { fs::remove_all(scratch_ / "d/one"); });
    EXPECT_EQ(remove("d"), 0);
    EXPECT_FALSE(contains("d"));
}

TEST_F(EmptyFolders, NeverGoesThroughALinkPutInAFoldersPlace) {
    scratch_.addFolder("kept/empty");
    std::atomic<bool> done = false;
    std::thread attacker([&] {
        while (!done)
            renameat2(AT_FDCWD, (scratch_ / "tree/swapped").c_str(), AT_FDCWD,
                      (scratch_ / "link").c_str(), RENAME_EXCHANGE);
    });
    for (int round = 0; round < 200; ++round) {
        scratch_.addFolder("tree/other");
        std::error_code ignored;
        fs::create_directory(scratch_ / "tree/swapped", ignored);
        fs::create_directory_symlink(scratch_ / "kept", scratch_ / "link", ignored);
        (void)files_->removeEmptyFolders(scratch_ / "tree"); // what matters is what it leaves alone
        ASSERT_TRUE(contains("kept/empty"));
    }
    done = true;
    attacker.join();
}

TEST_F(EmptyFolders, NothingMountedIsReached) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFolder("d/a");
    scratch_.addFolder("d/z/volume");
    scratch_.addFolder("elsewhere/empty");
    scratch_.addFile("store");
    scratch_.addFile("d/z/.DS_Store");
    for (const char* kind : {"tmpfs", "bind", "file"}) {
        inPrivateMounts([&] {
            if (kind == std::string("tmpfs"))
                mountVolume("tmpfs", scratch_ / "d/z/volume");
            else if (kind == std::string("bind"))
                bindFolder(scratch_ / "elsewhere", scratch_ / "d/z/volume");
            else
                bindFolder(scratch_ / "store", scratch_ / "d/z/.DS_Store");
            expectRefused("d", EBUSY);
            if (kind != std::string("file")) expectRefused("d/z/volume", EBUSY);
        });
        for (const char* left : {"d/a", "d/z/volume", "elsewhere/empty", "store"})
            EXPECT_TRUE(contains(left)) << kind << ": " << left;
    }
    EXPECT_EQ(remove("d"), 0);
}

} // namespace
} // namespace quorvane::testing
