// Copying and moving while others change what is copied, or the copy: they act at known moments.
#include <filesystem>
#include <functional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/file_manager.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace {

/// What happens just before a finished copy takes its name.
std::function<void()> beforeNaming;
/// What happens just before a copied file or folder gets its times.
std::function<void(int copy)> beforeTimes;

} // namespace

// These stand in for the C library's.
extern "C" int renameat2(int from, const char* name, int to, const char* newName,
                         unsigned flags) noexcept {
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

class FileMoving : public ::testing::Test {
protected:
    void TearDown() override {
        beforeNaming = nullptr;
        beforeTimes = nullptr;
    }
    platform::Result<void> copy() {
        return files_->copyItem(scratch_ / "tree", scratch_ / "to/copy");
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

} // namespace
} // namespace quorvane::testing
