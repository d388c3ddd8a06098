// Copying and moving while others change what is copied, or the copy: they act at known moments.
#include <cerrno>
#include <filesystem>
#include <functional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/file_manager.h"
#include "tests/platform/linux/access_lists.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace {

/// What happens just before a finished copy takes its name.
std::function<void()> beforeNaming;
/// What happens just before a copied file or folder gets its times.
std::function<void(int copy)> beforeTimes;
/// Whether the next renaming meets another volume.
bool ontoAnotherVolume = false;

} // namespace

// These stand in for the C library's.
extern "C" int renameat2(int from, const char* name, int to, const char* newName,
                         unsigned flags) noexcept {
    if (std::exchange(ontoAnotherVolume, false)) {
        errno = EXDEV;
        return -1;
    }
    if (beforeNaming) std::exchange(beforeNaming, nullptr)();
    return static_cast<int>(syscall(SYS_renameat2, from, name, to, newName, flags));
}

extern "C" int futimens(int file, const timespec* times) noexcept {
    if (beforeTimes) beforeTimes(file);
    return static_cast<int>(syscall(SYS_utimensat, file, nullptr, times, 0));
}

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class FileMoving : public ::testing::Test {
protected:
    void TearDown() override {
        beforeNaming = nullptr;
        beforeTimes = nullptr;
        ontoAnotherVolume = false;
    }
    platform::Result<void> copy() {
        return files_->copyItem(scratch_ / "tree", scratch_ / "to/copy");
    }
    /// Moves the tree as onto another volume, and acts when its copy is whole.
    platform::Result<void> moveWhile(std::function<void()> act) {
        scratch_.addFolder("to");
        ontoAnotherVolume = true;
        beforeNaming = std::move(act);
        return files_->moveItem(scratch_ / "tree", scratch_ / "to/moved");
    }
    bool contains(std::string_view relative) const {
        return fs::symlink_status(scratch_ / relative).type() != fs::file_type::not_found;
    }
    /// The path of the copy under construction.
    Path unfinished() {
        return scratch_ / ("to/" + files_->contentsOfDirectory(scratch_ / "to").value().at(0));
    }
    std::vector<std::string> names(std::string_view folder) {
        return files_->contentsOfDirectory(scratch_ / folder).value();
    }

    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();
};

bool isSame(int file, const Path& path) {
    struct stat one {};
    struct stat other {};
    return fstat(file, &one) == 0 && lstat(path.c_str(), &other) == 0 &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

TEST_F(FileMoving, NothingBehindALinkPutInACopiedFoldersPlaceChanges) {
    scratch_.addFile("victim");
    scratch_.addFolder("to");
    scratch_.addFolder("tree/closed");
    fs::permissions(scratch_ / "victim", fs::perms::owner_all);
    fs::permissions(scratch_ / "tree/closed", fs::perms::owner_read | fs::perms::owner_exec);
    bool swapped = false;
    beforeTimes = [&](int copied) {
        if (!isSame(copied, unfinished())) return;
        fs::rename(unfinished() + "/closed", unfinished() + "/aside");
        fs::create_symlink(scratch_ / "victim", unfinished() + "/closed");
        swapped = true;
    };
    EXPECT_TRUE(copy().ok());
    EXPECT_TRUE(swapped);
    EXPECT_EQ(fs::status(scratch_ / "victim").permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(scratch_ / "to/copy/aside").permissions(),
              fs::perms::owner_read | fs::perms::owner_exec);
}

TEST_F(FileMoving, ACopyHasNoAccessListOfItsFolderAtAnyTime) {
    QV_NEEDS_ACCESS_LISTS(scratch_.path());
    fs::permissions(scratch_.addFile("tree/file", "secret"), fs::perms(0640));
    ASSERT_TRUE(giveList(scratch_.addFolder("to"), kDefaultList, listFor(kOrdinaryUser)));
    int looked = 0;
    beforeTimes = [&](int copied) {
        ++looked;
        EXPECT_LE(fgetxattr(copied, kAccessList, nullptr, 0), 0);
        EXPECT_LE(fgetxattr(copied, kDefaultList, nullptr, 0), 0);
    };
    beforeNaming = [&] { EXPECT_FALSE(hasAttribute(unfinished(), kAccessList)); };
    EXPECT_TRUE(copy().ok());
    EXPECT_EQ(looked, 2);
}

TEST_F(FileMoving, AFailureAfterTheLastFolderLeavesNothing) {
    asOrdinaryUser(scratch_.path(), [&] {
        scratch_.addFolder("to");
        scratch_.addFile("tree/closed/inner/file");
        for (const char* folder : {"tree/closed/inner", "tree/closed", "tree"})
            fs::permissions(scratch_ / folder, fs::perms::owner_read | fs::perms::owner_exec);
        beforeNaming = [&] {
            fs::permissions(unfinished() + "/closed", fs::perms::none);
            scratch_.addFile("to/copy", "of another");
        };
        EXPECT_EQ(copy().error().text, "File exists");
        EXPECT_THAT(names("to"), ElementsAre("copy"));
        EXPECT_EQ(contentOf(scratch_ / "to/copy"), "of another");
        for (const char* folder : {"tree", "tree/closed", "tree/closed/inner"})
            fs::permissions(scratch_ / folder, fs::perms::owner_all);
    });
}

TEST_F(FileMoving, WhatIsAddedMeanwhileStays) {
    scratch_.addFile("tree/a/file", "content");
    scratch_.addFile("tree/b/file", "content");
    const auto moved = moveWhile([&] {
        scratch_.addFile("tree/a/new", "new");
        scratch_.addFolder("tree/a/empty");
        scratch_.addFile("tree/folder/new", "new");
        fs::create_symlink("new", scratch_ / "tree/link");
    });
    EXPECT_EQ(moved.error().text, "Stale file handle");
    EXPECT_THAT(names("tree"), UnorderedElementsAre("a", "folder", "link"));
    EXPECT_THAT(names("tree/a"), UnorderedElementsAre("new", "empty"));
    EXPECT_EQ(contentOf(scratch_ / "tree/folder/new"), "new");
    EXPECT_EQ(contentOf(scratch_ / "to/moved/a/file"), "content");
    EXPECT_EQ(contentOf(scratch_ / "to/moved/b/file"), "content");
    EXPECT_THAT(names("to"), ElementsAre("moved"));
}

TEST_F(FileMoving, NewVersionsStay) {
    scratch_.addFile("tree/replaced", "old");
    scratch_.addFile("tree/written", "old");
    scratch_.addFile("tree/same", "old");
    const auto moved = moveWhile([&] {
        scratch_.addFile("new", "new");
        fs::rename(scratch_ / "new", scratch_ / "tree/replaced");
        std::ofstream(scratch_ / "tree/written", std::ios::app) << " and new";
    });
    EXPECT_EQ(moved.error().code, ESTALE);
    EXPECT_THAT(names("tree"), UnorderedElementsAre("replaced", "written"));
    EXPECT_EQ(contentOf(scratch_ / "tree/replaced"), "new");
    EXPECT_EQ(contentOf(scratch_ / "tree/written"), "old and new");
    EXPECT_EQ(contentOf(scratch_ / "to/moved/written"), "old");
}

TEST_F(FileMoving, WhatTakesTheNameOfTheSourceStays) {
    scratch_.addFile("tree", "old");
    const auto replace = [&] {
        scratch_.addFile("new", "new");
        fs::rename(scratch_ / "new", scratch_ / "tree");
    };
    EXPECT_EQ(moveWhile(replace).error().code, ESTALE);
    EXPECT_EQ(contentOf(scratch_ / "tree"), "new");
    EXPECT_EQ(contentOf(scratch_ / "to/moved"), "old");
}

TEST_F(FileMoving, AFolderThatTakesTheNameOfTheSourceStays) {
    scratch_.addFile("tree/file", "old");
    const auto replace = [&] {
        fs::rename(scratch_ / "tree", scratch_ / "aside");
        scratch_.addFolder("tree");
    };
    EXPECT_EQ(moveWhile(replace).error().code, ESTALE);
    EXPECT_TRUE(contains("tree"));
    EXPECT_TRUE(contains("aside/file"));
}

TEST_F(FileMoving, WhatIsWrittenWhileAFileIsCopiedStays) {
    scratch_.addFile("tree", "old");
    scratch_.addFolder("to");
    ontoAnotherVolume = true;
    beforeTimes = [&](int) { std::ofstream(scratch_ / "tree", std::ios::app) << " and new"; };
    EXPECT_EQ(files_->moveItem(scratch_ / "tree", scratch_ / "to/moved").error().code, ESTALE);
    EXPECT_EQ(contentOf(scratch_ / "tree"), "old and new");
}

TEST_F(FileMoving, WhatIsDeletedMeanwhileIsMoved) {
    scratch_.addFile("tree/gone/file", "content");
    scratch_.addFile("tree/file");
    EXPECT_TRUE(moveWhile([&] { fs::remove_all(scratch_ / "tree/gone"); }).ok());
    EXPECT_FALSE(contains("tree"));
    EXPECT_EQ(contentOf(scratch_ / "to/moved/gone/file"), "content");
    fs::rename(scratch_ / "to/moved", scratch_ / "tree");
    EXPECT_TRUE(moveWhile([&] { fs::remove_all(scratch_ / "tree"); }).ok());
    EXPECT_TRUE(contains("to/moved/gone/file"));
}

TEST_F(FileMoving, AllNamesOfOneFileAreMoved) {
    scratch_.addFile("tree/one", "content");
    fs::create_hard_link(scratch_ / "tree/one", scratch_ / "tree/other");
    fs::create_hard_link(scratch_ / "tree/one", scratch_ / "outside");
    EXPECT_TRUE(moveWhile([] {}).ok());
    EXPECT_FALSE(contains("tree"));
    EXPECT_THAT(names("to/moved"), UnorderedElementsAre("one", "other"));
    EXPECT_TRUE(contains("outside"));
}

TEST_F(FileMoving, AMountIsNeverTakenAlong) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFile("tree/file", "content");
    scratch_.addFolder("tree/bound");
    scratch_.addFile("elsewhere/file", "bound");
    scratch_.addFolder("to");
    inPrivateMounts([&] {
        bindFolder(scratch_ / "elsewhere", scratch_ / "tree/bound");
        const auto move = [&](const char* name) {
            const auto moved = files_->moveItem(scratch_ / name, scratch_ / "to/moved");
            return moved ? 0 : moved.error().code;
        };
        EXPECT_EQ(move("tree"), EBUSY);
        EXPECT_EQ(move("tree/bound"), EBUSY);
        EXPECT_EQ(contentOf(scratch_ / "tree/bound/file"), "bound");
        EXPECT_EQ(move("tree/file"), 0);
    });
}

} // namespace
} // namespace quorvane::testing
