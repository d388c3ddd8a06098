// What every file manager owes its callers: copying.
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CopyContract : public DiskContract {
protected:
    platform::Result<void> copy(std::string_view source, std::string_view destination) {
        return files().copyItem(path(source), path(destination));
    }
};

INSTANTIATE_TEST_SUITE_P(Of, CopyContract, ::testing::Values(&kFakeWorld, &kLinuxWorld), worldName);

TEST_P(CopyContract, CopiesFilesAndTrees) {
    world().addFile(path("file"), "content");
    world().addFile(path("tree/a/b\n\xFF"), "below");
    world().addFolder(path("tree/empty"));
    world().addLink(path("tree/link"), "../nowhere");
    EXPECT_TRUE(copy("file", "other").ok());
    EXPECT_TRUE(copy("tree/", "copy/").ok());
    EXPECT_EQ(world().content(path("other")), "content");
    EXPECT_EQ(world().content(path("copy/a/b\n\xFF")), "below");
    EXPECT_TRUE(files().existence(path("copy/empty")).isDirectory);
    EXPECT_EQ(files().linkDestination(path("copy/link")).value(), "../nowhere");
    EXPECT_EQ(world().content(path("file")), "content");
    EXPECT_NE(files().existence(path("tree/a")).identity,
              files().existence(path("copy/a")).identity);
}

TEST_P(CopyContract, CopiesLinksNotTheirTargets) {
    world().addFile(path("folder/file"), "");
    world().addLink(path("link"), "folder");
    EXPECT_TRUE(copy("link", "copy").ok());
    EXPECT_EQ(files().linkDestination(path("copy")).value(), "folder");
}

TEST_P(CopyContract, KeepsAttributes) {
    world().addFile(path("file"), "content");
    platform::AttributeChanges changes;
    changes.posixPermissions = 0640;
    changes.modificationDate = platform::FileTime(std::chrono::nanoseconds(1'234'567'891));
    EXPECT_TRUE(world().extendedAttributes().set(path("file"), "label", "red").ok());
    EXPECT_TRUE(files().setAttributes(path("file"), changes).ok());
    EXPECT_TRUE(copy("file", "copy").ok());
    const auto attributes = files().attributes(path("copy")).value();
    EXPECT_EQ(attributes.posixPermissions, 0640UL);
    EXPECT_EQ(attributes.modificationDate, changes.modificationDate);
    EXPECT_EQ(world().extendedAttributes().size(path("copy"), "label").value(), 3U);
}

TEST_P(CopyContract, NeverReplaces) {
    world().addFile(path("file"), "content");
    world().addFile(path("taken"), "kept");
    world().addFolder(path("folder"));
    world().addLink(path("dangling"), "/nowhere");
    for (const char* taken : {"taken", "folder", "dangling", "file"})
        EXPECT_EQ(copy("file", taken).error().text, "File exists") << taken;
    EXPECT_EQ(world().content(path("taken")), "kept");
    EXPECT_THAT(files().contentsOfDirectory(path("folder")).value(), IsEmpty());
}

TEST_P(CopyContract, FailsWithoutSourceOrFolder) {
    world().addFile(path("file"), "content");
    world().addFolder(path("folder/sub"));
    EXPECT_EQ(copy("missing", "to").error().code, ENOENT);
    EXPECT_EQ(copy("file", "missing/to").error().code, ENOENT);
    EXPECT_EQ(copy("file", "file/to").error().code, ENOTDIR);
    EXPECT_EQ(copy("folder", "folder/below").error().code, EINVAL);
    EXPECT_EQ(copy("folder", "folder/sub/below").error().code, EINVAL);
    EXPECT_EQ(files().copyItem("", path("to")).error().code, ENOENT);
    EXPECT_THAT(files().contentsOfDirectory(path("folder")).value(), ElementsAre("sub"));
    EXPECT_THAT(files().contentsOfDirectory(path("folder/sub")).value(), IsEmpty());
}

} // namespace
} // namespace quorvane::testing
