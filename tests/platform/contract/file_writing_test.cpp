// What every file manager owes its callers: whole files and streams.
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

using ::testing::UnorderedElementsAre;

class FileWritingContract : public DiskContract {};

INSTANTIATE_TEST_SUITE_P(Of, FileWritingContract, ::testing::Values(&kFakeWorld, &kLinuxWorld),
                         worldName);

TEST_P(FileWritingContract, WritesNewFilesAndReplacesOldOnes) {
    const std::string bytes("first\0line\xFF", 11);
    EXPECT_TRUE(files().writeAtomically(path("file"), bytes).ok());
    EXPECT_EQ(world().content(path("file")), bytes);
    EXPECT_TRUE(files().setAttributes(path("file"), {.posixPermissions = 0640}).ok());
    EXPECT_TRUE(files().writeAtomically(path("file"), "").ok());
    EXPECT_EQ(world().content(path("file")), "");
    EXPECT_EQ(files().attributes(path("file")).value().posixPermissions, 0640U);
    EXPECT_THAT(files().contentsOfDirectory(path("")).value(), UnorderedElementsAre("file"));
}

TEST_P(FileWritingContract, WritingTakesALinksPlace) {
    world().addFile(path("kept"), "kept");
    world().addLink(path("link"), "kept");
    EXPECT_TRUE(files().writeAtomically(path("link"), "new").ok());
    EXPECT_FALSE(world().isLink(path("link")));
    EXPECT_EQ(world().content(path("link")), "new");
    EXPECT_EQ(world().content(path("kept")), "kept");
}

TEST_P(FileWritingContract, FailedWritingLeavesNothingBehind) {
    world().addFile(path("folder/file"), "kept");
    EXPECT_EQ(files().writeAtomically(path("folder"), "new").error().code, EISDIR);
    EXPECT_EQ(files().writeAtomically(path("missing/file"), "new").error().code, ENOENT);
    EXPECT_EQ(files().writeAtomically(path("folder/file/below"), "new").error().code, ENOTDIR);
    EXPECT_THAT(files().contentsOfDirectory(path("")).value(), UnorderedElementsAre("folder"));
    EXPECT_EQ(world().content(path("folder/file")), "kept");
}

TEST_P(FileWritingContract, StreamsWriteFromTheStart) {
    world().addFile(path("file"), "0123456789");
    const auto stream = files().openForWriting(path("file"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(files().write(stream.value(), "abc").value(), 3U);
    EXPECT_EQ(files().write(stream.value(), "de").value(), 2U);
    EXPECT_EQ(files().write(stream.value(), "").value(), 0U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("file")), "abcde56789");
}

TEST_P(FileWritingContract, StreamsAppendAfterSeekingToTheEnd) {
    world().addFile(path("file"), "0123456789");
    world().addLink(path("link"), "file");
    const auto stream = files().openForWriting(path("link"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(files().seekToEnd(stream.value()).value(), 10U);
    EXPECT_EQ(files().write(stream.value(), "abc").value(), 3U);
    EXPECT_EQ(files().seekToEnd(stream.value()).value(), 13U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("file")), "0123456789abc");
}

TEST_P(FileWritingContract, StreamsOutliveTheirNames) {
    world().addFile(path("file"), "");
    const auto stream = files().openForWriting(path("file"));
    ASSERT_TRUE(stream.ok());
    EXPECT_TRUE(files().moveItem(path("file"), path("moved")).ok());
    EXPECT_EQ(files().write(stream.value(), "text").value(), 4U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("moved")), "text");
    EXPECT_FALSE(world().contains(path("file")));
}

TEST_P(FileWritingContract, OpeningCreatesNothing) {
    world().addFolder(path("folder"));
    EXPECT_EQ(files().openForWriting(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().openForWriting(path("folder")).error().code, EISDIR);
    EXPECT_FALSE(world().contains(path("missing")));
}

TEST_P(FileWritingContract, ClosedStreamsAreBadDescriptors) {
    world().addFile(path("file"), "");
    const auto stream = files().openForWriting(path("file"));
    ASSERT_TRUE(stream.ok());
    files().close(stream.value());
    EXPECT_EQ(files().write(stream.value(), "text").error().code, EBADF);
    EXPECT_EQ(files().seekToEnd(stream.value()).error().text, "Bad file descriptor");
}

} // namespace
} // namespace quorvane::testing
