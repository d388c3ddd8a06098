// Files and folders where Linux has its own ways: names, FIFOs, rights, volumes, full disks.
#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include "platform/linux/file_manager.h"
#include "platform/linux/file_moving.h"
#include "platform/linux/posix.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using platform::linux_::Descriptor;
using platform::linux_::openParent;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

platform::Result<void> renameOntoPlaceholder(const Path& source, const Path& destination) {
    return platform::linux_::renameOntoPlaceholder(openParent(source).value(),
                                                   openParent(destination).value());
}

class LinuxFileManager : public ::testing::Test {
protected:
    std::vector<std::string> names(std::string_view relative) {
        return files_->contentsOfDirectory(scratch_ / relative).value();
    }

    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();
};

TEST_F(LinuxFileManager, TakesNamesUpToTheirLimit) {
    const std::string longest(255, '\xFF');
    const Path file = scratch_ / longest;
    EXPECT_TRUE(files_->writeAtomically(file, "content").ok());
    EXPECT_EQ(contentOf(file), "content");
    EXPECT_TRUE(files_->moveItem(file, scratch_ / std::string(255, '\n')).ok());
    EXPECT_THAT(names(""), ElementsAre(std::string(255, '\n')));
    EXPECT_EQ(files_->writeAtomically(file + "n", "").error().text, "File name too long");
    EXPECT_EQ(files_->createDirectories(file + "n").error().code, ENAMETOOLONG);
    EXPECT_FALSE(files_->existence(file + "n").exists);
    EXPECT_THAT(names(""), ElementsAre(std::string(255, '\n')));
}

TEST_F(LinuxFileManager, NeverWaitsForAFifo) {
    const Path fifo = scratch_ / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_TRUE(files_->existence(fifo).exists);
    EXPECT_TRUE(files_->attributes(fifo).ok());
    EXPECT_TRUE(files_->setAttributes(fifo, {.immutable = false}).ok());
    EXPECT_EQ(files_->setAttributes(fifo, {.immutable = true}).error().code, EOPNOTSUPP);
    EXPECT_EQ(files_->contentsOfDirectory(fifo).error().code, ENOTDIR);
    EXPECT_EQ(files_->openForAppending(fifo).error().code, ENXIO);
    EXPECT_EQ(files_->openForReading(fifo).error().code, ENXIO);
    EXPECT_EQ(files_->openTruncated(fifo).error().code, ENXIO);
    EXPECT_EQ(files_->openExisting(fifo).error().code, ENXIO);
    EXPECT_EQ(files_->openExisting("/dev/null").error().code, ENXIO);
    const Descriptor reader(open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    EXPECT_EQ(files_->openForAppending(fifo).error().code, ENXIO);
    EXPECT_TRUE(files_->writeAtomically(fifo, "content").ok());
    EXPECT_EQ(contentOf(fifo), "content");
}

TEST_F(LinuxFileManager, HandlesAreDescriptorsThatChildrenDoNotInherit) {
    const auto stream = files_->openForAppending(scratch_.addFile("file"));
    ASSERT_TRUE(stream.ok());
    const int descriptor = static_cast<int>(stream.value());
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    files_->close(stream.value());
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(LinuxFileManager, NewFilesFollowTheFileCreationMask) {
    const mode_t usual = umask(027);
    EXPECT_TRUE(files_->writeAtomically(scratch_ / "file", "").ok());
    EXPECT_TRUE(files_->createDirectories(scratch_ / "folder").ok());
    umask(usual);
    EXPECT_EQ(files_->attributes(scratch_ / "file").value().posixPermissions, 0640U);
    EXPECT_EQ(files_->attributes(scratch_ / "folder").value().posixPermissions, 0750U);
}

TEST_F(LinuxFileManager, RenamesOntoPlaceholders) {
    const Path file = scratch_.addFile("file", "content");
    const Path folder = scratch_.addFolder("folder/below");
    fs::create_symlink("/nowhere", scratch_ / "link");
    EXPECT_TRUE(renameOntoPlaceholder(file, scratch_ / "moved file").ok());
    EXPECT_EQ(contentOf(scratch_ / "moved file"), "content");
    EXPECT_TRUE(renameOntoPlaceholder(scratch_ / "folder", scratch_ / "moved folder").ok());
    EXPECT_THAT(names("moved folder"), ElementsAre("below"));
    EXPECT_TRUE(renameOntoPlaceholder(scratch_ / "link", scratch_ / "moved link").ok());
    EXPECT_TRUE(fs::is_symlink(scratch_ / "moved link"));
    EXPECT_FALSE(files_->existence(folder).exists);
    EXPECT_FALSE(files_->existence(file).exists);
}

TEST_F(LinuxFileManager, PlaceholdersNeverReplaceAndNeverStay) {
    const Path file = scratch_.addFile("file", "content");
    const Path folder = scratch_.addFolder("folder");
    const Path taken = scratch_.addFile("taken", "kept");
    const Path empty = scratch_.addFolder("empty");
    EXPECT_EQ(renameOntoPlaceholder(file, taken).error().code, EEXIST);
    EXPECT_EQ(renameOntoPlaceholder(folder, empty).error().code, EEXIST);
    EXPECT_EQ(renameOntoPlaceholder(folder, folder + "/below").error().code, EINVAL);
    EXPECT_EQ(renameOntoPlaceholder(scratch_ / "missing", scratch_ / "to").error().code, ENOENT);
    EXPECT_EQ(contentOf(taken), "kept");
    EXPECT_THAT(names("folder"), IsEmpty());
    EXPECT_FALSE(files_->existence(scratch_ / "to").exists);
}

TEST_F(LinuxFileManager, FullDisksKeepTheOldFile) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        mountVolume("tmpfs", scratch_.path(), "size=64k");
        const Path file = scratch_.addFile("file", "kept");
        const std::string tooLong(1'000'000, 'x');
        EXPECT_EQ(files_->writeAtomically(file, tooLong).error().text, "No space left on device");
        EXPECT_EQ(contentOf(file), "kept");
        EXPECT_THAT(names(""), ElementsAre("file"));
        const auto stream = files_->openForAppending(file);
        ASSERT_TRUE(stream.ok());
        const auto written = files_->write(stream.value(), tooLong);
        ASSERT_TRUE(written.ok());
        EXPECT_GT(written.value(), 0U);
        EXPECT_LE(written.value(), 64U * 1024);
        EXPECT_EQ(files_->write(stream.value(), tooLong).error().code, ENOSPC);
        files_->close(stream.value());
    });
}

TEST_F(LinuxFileManager, ReadOnlyVolumesStayAsTheyAre) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        mountVolume("tmpfs", scratch_.path());
        const Path file = scratch_.addFile("folder/file", "kept");
        const auto permissions = files_->attributes(file).value().posixPermissions;
        remountReadOnly(scratch_.path());
        EXPECT_EQ(files_->removeItem(scratch_ / "folder").error().text, "Read-only file system");
        EXPECT_EQ(files_->moveItem(file, scratch_ / "moved").error().code, EROFS);
        EXPECT_EQ(files_->createDirectories(scratch_ / "new").error().code, EROFS);
        EXPECT_TRUE(files_->createDirectories(scratch_ / "folder").ok());
        EXPECT_EQ(files_->writeAtomically(file, "new").error().code, EROFS);
        EXPECT_EQ(files_->openForAppending(file).error().code, EROFS);
        EXPECT_FALSE(files_->isWritable(file));
        EXPECT_TRUE(files_->setAttributes(file, {.immutable = false}).ok());
        EXPECT_TRUE(files_->setAttributes(file, {.posixPermissions = permissions}).ok());
        EXPECT_EQ(files_->setAttributes(file, {.posixPermissions = 0}).error().code, EROFS);
        EXPECT_EQ(files_->setAttributes(file, {.immutable = true}).error().code, EROFS);
        EXPECT_EQ(contentOf(file), "kept");
    });
}

} // namespace
} // namespace quorvane::testing
