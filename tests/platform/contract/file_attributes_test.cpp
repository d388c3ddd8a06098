// What every file manager owes its callers: attributes and rights.
#include <cerrno>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

using namespace std::chrono_literals;
using platform::AttributeChanges;
using platform::FileTime;
using platform::ItemAttributes;

const FileTime kDate{1'234'567'890s + 123'456'789ns};

class FileAttributesContract : public DiskContract {
protected:
    ItemAttributes attributesOf(const char* name) { return files().attributes(path(name)).value(); }
    platform::Result<void> change(const char* name, const AttributeChanges& changes) {
        return files().setAttributes(path(name), changes);
    }
};

INSTANTIATE_TEST_SUITE_P(Of, FileAttributesContract, ::testing::Values(&kFakeWorld, &kLinuxWorld),
                         worldName);

TEST_P(FileAttributesContract, TellsSizeAndDates) {
    world().addFile(path("file"), "twelve bytes");
    EXPECT_EQ(attributesOf("file").size, 12U);
    EXPECT_TRUE(attributesOf("file").modificationDate.has_value());
    EXPECT_TRUE(attributesOf("file").creationDate.has_value());
    EXPECT_EQ(files().attributes(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().attributes("").error().code, ENOENT);
}

TEST_P(FileAttributesContract, BelongToTheLinkItself) {
    world().addFile(path("file"), "twelve bytes");
    world().addLink(path("link"), "file");
    world().addLink(path("dangling"), "/nowhere");
    EXPECT_EQ(attributesOf("link").size, 4U);
    EXPECT_EQ(attributesOf("dangling").size, 8U);
    EXPECT_TRUE(change("link", {.modificationDate = kDate}).ok());
    EXPECT_EQ(attributesOf("link").modificationDate, kDate);
    EXPECT_NE(attributesOf("file").modificationDate, kDate);
    EXPECT_EQ(change("link", {.posixPermissions = 0600}).error().code, EOPNOTSUPP);
    EXPECT_EQ(change("link", {.immutable = true}).error().code, EOPNOTSUPP);
    EXPECT_TRUE(change("dangling", {.immutable = false}).ok());
    EXPECT_NE(attributesOf("file").posixPermissions, 0600U);
}

TEST_P(FileAttributesContract, ChangesWhatIsAskedOnly) {
    world().addFile(path("file"), "");
    const ItemAttributes before = attributesOf("file");
    EXPECT_TRUE(change("file", {}).ok());
    EXPECT_TRUE(change("file", {.posixPermissions = 0751}).ok());
    EXPECT_EQ(attributesOf("file").posixPermissions, 0751U);
    EXPECT_EQ(attributesOf("file").modificationDate, before.modificationDate);
    EXPECT_EQ(attributesOf("file").creationDate, before.creationDate);
}

TEST_P(FileAttributesContract, KeepsDatesToTheNanosecond) {
    world().addFile(path("file"), "");
    world().addFolder(path("folder"));
    for (const char* name : {"file", "folder"}) {
        const FileTime other = kDate + 1s;
        EXPECT_TRUE(change(name, {.creationDate = kDate, .modificationDate = other}).ok());
        EXPECT_EQ(attributesOf(name).creationDate, kDate);
        EXPECT_EQ(attributesOf(name).modificationDate, other);
    }
}

TEST_P(FileAttributesContract, KnowsDatesBefore1970) {
    world().addFile(path("file"), "");
    const FileTime early{-1500ms};
    EXPECT_TRUE(change("file", {.creationDate = early, .modificationDate = early}).ok());
    EXPECT_EQ(attributesOf("file").creationDate, early);
    EXPECT_EQ(attributesOf("file").modificationDate, early);
}

TEST_P(FileAttributesContract, ClearingAClearFlagSucceeds) {
    world().addFile(path("file"), "");
    world().addFolder(path("folder"));
    EXPECT_TRUE(change("file", {.immutable = false}).ok());
    EXPECT_TRUE(change("folder/", {.immutable = false}).ok());
}

TEST_P(FileAttributesContract, ChangingWhatIsNotThereFails) {
    const auto changed = change("missing", {.immutable = false});
    EXPECT_EQ(changed.error().code, ENOENT);
    EXPECT_EQ(changed.error().text, "No such file or directory");
    EXPECT_EQ(change("missing", {}).error().code, ENOENT);
}

TEST_P(FileAttributesContract, TellsWhatMayBeWrittenAndExecuted) {
    world().addFile(path("file"), "");
    world().addLink(path("link"), "file");
    EXPECT_TRUE(files().isWritable(path("file")));
    EXPECT_TRUE(files().isWritable(path("link")));
    EXPECT_FALSE(files().isExecutable(path("file")));
    EXPECT_TRUE(change("file", {.posixPermissions = 0755}).ok());
    EXPECT_TRUE(files().isExecutable(path("file")));
    EXPECT_TRUE(files().isExecutable(path("link")));
    EXPECT_FALSE(files().isWritable(path("missing")));
    EXPECT_FALSE(files().isExecutable(path("missing")));
    EXPECT_FALSE(files().isWritable(""));
}

} // namespace
} // namespace quorvane::testing
