// The immutable flag, creation dates and rights on Linux.
#include "platform/linux/file_attributes.h"

#include <cerrno>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/linux/file_manager.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

using namespace std::chrono_literals;
using platform::FileTime;
using platform::linux_::kCreationDateAttribute;

const FileTime kDate{1'234'567'890s};

class LinuxFileAttributes : public ::testing::Test {
protected:
    platform::ItemAttributes attributesOf(const Path& item) {
        return files_->attributes(item).value();
    }
    void expectLockingWorks(const Path& item);

    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();
};

/// Locks an item, sees that it cannot be changed, and unlocks and removes it.
void LinuxFileAttributes::expectLockingWorks(const Path& item) {
    const auto permissions = attributesOf(item).posixPermissions;
    EXPECT_EQ(attributesOf(item).immutable, false);
    EXPECT_TRUE(files_->setAttributes(item, {.immutable = true}).ok());
    EXPECT_EQ(attributesOf(item).immutable, true);
    EXPECT_TRUE(files_->setAttributes(item, {.immutable = true}).ok());
    EXPECT_FALSE(files_->isWritable(item));
    EXPECT_EQ(files_->removeItem(item).error().text, "Operation not permitted");
    EXPECT_EQ(files_->moveItem(item, item + " moved").error().code, EPERM);
    EXPECT_TRUE(files_->setAttributes(item, {.posixPermissions = permissions}).ok());
    EXPECT_EQ(files_->setAttributes(item, {.posixPermissions = 0}).error().code, EPERM);
    EXPECT_EQ(files_->setAttributes(item, {.modificationDate = kDate}).error().code, EPERM);
    EXPECT_EQ(files_->setAttributes(item, {.creationDate = kDate}).error().code, EPERM);
    EXPECT_TRUE(files_->setAttributes(item, {.immutable = false, .posixPermissions = 0700}).ok());
    EXPECT_EQ(attributesOf(item).immutable, false);
    EXPECT_EQ(attributesOf(item).posixPermissions, 0700U);
    EXPECT_TRUE(files_->removeItem(item).ok());
}

TEST_F(LinuxFileAttributes, LockAndUnlockItems) {
    QV_NEEDS_SUPERUSER();
    if (!files_->attributes(scratch_.path()).value().immutable)
        GTEST_SKIP() << "the temporary folder's file system has no immutable flag";
    expectLockingWorks(scratch_.addFile("file", "content"));
    scratch_.addFile("folder/file");
    expectLockingWorks(scratch_ / "folder");
}

TEST_F(LinuxFileAttributes, LockAndUnlockItemsInMemory) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        mountVolume("tmpfs", scratch_.path());
        if (files_->attributes(scratch_.path()).value().immutable)
            expectLockingWorks(scratch_.addFile("file"));
    });
}

TEST_F(LinuxFileAttributes, ClearFlagsQuietlyWhereThereAreNone) {
    QV_NEEDS_SUPERUSER();
    inPrivateMounts([&] {
        mountVolume("ramfs", scratch_.path());
        const Path file = scratch_.addFile("file");
        EXPECT_EQ(attributesOf(file).immutable, std::nullopt);
        EXPECT_TRUE(files_->setAttributes(file, {.immutable = false}).ok());
        EXPECT_EQ(files_->setAttributes(file, {.immutable = true}).error().text,
                  "Operation not supported");
        EXPECT_EQ(files_->setAttributes(file, {.creationDate = kDate}).error().code, EOPNOTSUPP);
    });
}

TEST_F(LinuxFileAttributes, LeaveDevicesAlone) {
    QV_NEEDS_SUPERUSER();
    const Path device = scratch_ / "device";
    // Numbers that no driver has: whoever opens the device gets ENXIO.
    ASSERT_EQ(mknod(device.c_str(), S_IFCHR | 0600, (511U << 8U) | 250U), 0);
    EXPECT_TRUE(files_->setAttributes(device, {.immutable = false}).ok());
    EXPECT_EQ(files_->setAttributes(device, {.immutable = true}).error().code, EOPNOTSUPP);
    EXPECT_TRUE(files_->setAttributes(device, {.posixPermissions = 0640}).ok());
    EXPECT_EQ(attributesOf(device).posixPermissions, 0640U);
}

TEST_F(LinuxFileAttributes, KeepSetCreationDatesInAnExtendedAttribute) {
    const Path file = scratch_.addFile("file");
    const auto born = attributesOf(file).creationDate;
    const FileTime date = kDate + 5ns;
    EXPECT_TRUE(files_->setAttributes(file, {.creationDate = born}).ok());
    EXPECT_EQ(getxattr(file.c_str(), "user.quorvane.creation-date", nullptr, 0), -1);
    EXPECT_TRUE(files_->setAttributes(file, {.creationDate = date}).ok());
    std::string kept(64, '\0');
    const ssize_t size =
        getxattr(file.c_str(), "user.quorvane.creation-date", kept.data(), kept.size());
    ASSERT_GT(size, 0);
    kept.resize(static_cast<std::size_t>(size));
    EXPECT_EQ(kept, "1234567890000000005");
    EXPECT_EQ(attributesOf(file).creationDate, date);
}

TEST_F(LinuxFileAttributes, IgnoreCreationDatesThatAreNone) {
    const Path file = scratch_.addFile("file");
    const auto born = attributesOf(file).creationDate;
    for (const std::string& text : {std::string("yesterday"), std::string("12 "), std::string(),
                                    std::string("99999999999999999999"), std::string(64, '1')}) {
        ASSERT_EQ(setxattr(file.c_str(), kCreationDateAttribute, text.data(), text.size(), 0), 0);
        EXPECT_EQ(attributesOf(file).creationDate, born) << text;
    }
}

TEST_F(LinuxFileAttributes, NeedNoRightsToStayAsTheyAre) {
    const Path file = scratch_.addFile("file");
    QV_NEEDS_SUPERUSER();
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    asOrdinaryUser(scratch_.path(), [&] {
        const auto before = attributesOf(file);
        EXPECT_TRUE(files_
                        ->setAttributes(file, {.immutable = false,
                                               .posixPermissions = 0600,
                                               .creationDate = before.creationDate,
                                               .modificationDate = before.modificationDate})
                        .ok());
        EXPECT_EQ(files_->setAttributes(file, {.posixPermissions = 0644}).error().code, EPERM);
        EXPECT_EQ(files_->setAttributes(file, {.modificationDate = kDate}).error().code, EPERM);
        EXPECT_EQ(files_->setAttributes(file, {.creationDate = kDate}).error().code, EACCES);
        EXPECT_EQ(files_->setAttributes(file, {.immutable = true}).error().code, EACCES);
        EXPECT_FALSE(files_->isWritable(file));
    });
}

} // namespace
} // namespace quorvane::testing
