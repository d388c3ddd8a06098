// What every file manager owes its callers: whole files and streams.
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

using ::testing::UnorderedElementsAre;

class FileWritingContract : public DiskContract {
protected:
    /// What a read brought, with what ended it: "abc", "abc(end)", "(Input/output error)".
    std::string read(platform::StreamHandle stream, std::size_t size) {
        std::string bytes(size, '?');
        const platform::StreamRead result = files().read(stream, bytes);
        bytes.resize(result.count);
        if (result.atEnd) bytes += "(end)";
        if (result.error) bytes += "(" + result.error->text + ")";
        return bytes;
    }
};

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
    const auto stream = files().openExisting(path("file"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(files().write(stream.value(), "abc").value(), 3U);
    EXPECT_EQ(files().write(stream.value(), "de").value(), 2U);
    EXPECT_EQ(files().write(stream.value(), "").value(), 0U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("file")), "abcde56789");
}

TEST_P(FileWritingContract, StreamsAppendWhoeverElseWritesThere) {
    world().addFile(path("file"), "0123456789");
    const auto one = files().openForAppending(path("file"));
    const auto two = files().openForAppending(path("file"));
    ASSERT_TRUE(one.ok() && two.ok());
    EXPECT_EQ(files().write(one.value(), "a").value(), 1U);
    EXPECT_EQ(files().write(two.value(), "b").value(), 1U);
    EXPECT_TRUE(files().seek(one.value(), 0).ok());
    EXPECT_EQ(files().write(one.value(), "c").value(), 1U);
    files().close(one.value());
    files().close(two.value());
    EXPECT_EQ(world().content(path("file")), "0123456789abc");
}

TEST_P(FileWritingContract, StreamsKnowWhetherALineIsOpen) {
    world().addFile(path("file"), "");
    const auto stream = files().openForAppending(path("file"));
    ASSERT_TRUE(stream.ok());
    EXPECT_FALSE(files().endsInsideLine(stream.value()));
    EXPECT_EQ(files().write(stream.value(), "line").value(), 4U);
    EXPECT_TRUE(files().endsInsideLine(stream.value()));
    EXPECT_EQ(files().write(stream.value(), "\n").value(), 1U);
    EXPECT_FALSE(files().endsInsideLine(stream.value()));
    files().close(stream.value());
    EXPECT_FALSE(files().endsInsideLine(stream.value()));
}

TEST_P(FileWritingContract, StreamsAppendAfterSeekingToTheEnd) {
    world().addFile(path("file"), "0123456789");
    world().addLink(path("link"), "file");
    const auto stream = files().openForAppending(path("link"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(files().seekToEnd(stream.value()).value(), 10U);
    EXPECT_EQ(files().write(stream.value(), "abc").value(), 3U);
    EXPECT_EQ(files().seekToEnd(stream.value()).value(), 13U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("file")), "0123456789abc");
}

TEST_P(FileWritingContract, StreamsOutliveTheirNames) {
    world().addFile(path("file"), "");
    const auto stream = files().openForAppending(path("file"));
    ASSERT_TRUE(stream.ok());
    EXPECT_TRUE(files().moveItem(path("file"), path("moved")).ok());
    EXPECT_EQ(files().write(stream.value(), "text").value(), 4U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("moved")), "text");
    EXPECT_FALSE(world().contains(path("file")));
}

TEST_P(FileWritingContract, StreamsReadFromTheStartToTheEnd) {
    world().addFile(path("file"), std::string("01234\0\xFFx89", 10));
    world().addLink(path("link"), "file");
    const auto stream = files().openForReading(path("link"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(read(stream.value(), 6), std::string("01234\0", 6));
    EXPECT_EQ(read(stream.value(), 4), "\xFFx89");
    EXPECT_EQ(read(stream.value(), 4), "(end)");
    EXPECT_TRUE(files().seek(stream.value(), 8).ok());
    EXPECT_EQ(read(stream.value(), 4), "89(end)");
    EXPECT_EQ(read(stream.value(), 0), "");
    EXPECT_TRUE(files().seek(stream.value(), 100).ok());
    EXPECT_EQ(read(stream.value(), 4), "(end)");
    files().close(stream.value());
}

TEST_P(FileWritingContract, TruncatedStreamsBeginEmptyAndReadWhatTheyWrote) {
    world().addFile(path("old"), "0123456789");
    world().addLink(path("link"), "made");
    for (const char* name : {"old", "new", "link"}) {
        const auto stream = files().openTruncated(path(name));
        ASSERT_TRUE(stream.ok()) << name;
        EXPECT_EQ(files().seekToEnd(stream.value()).value(), 0U) << name;
        EXPECT_EQ(files().write(stream.value(), "abcdef").value(), 6U);
        EXPECT_TRUE(files().seek(stream.value(), 2).ok());
        EXPECT_EQ(read(stream.value(), 3), "cde");
        EXPECT_EQ(files().write(stream.value(), "XY").value(), 2U);
        EXPECT_TRUE(files().seek(stream.value(), 0).ok());
        EXPECT_EQ(read(stream.value(), 8), "abcdeXY(end)");
        files().close(stream.value());
    }
    EXPECT_EQ(world().content(path("made")), "abcdeXY");
}

TEST_P(FileWritingContract, NewStreamsTakeTheirPlaceAlone) {
    world().addFile(path("old"), "kept");
    world().addFolder(path("folder"));
    world().addLink(path("dangling"), "made");
    for (const char* name : {"old", "folder", "dangling"})
        EXPECT_EQ(files().openNew(path(name)).error().code, EEXIST) << name;
    EXPECT_EQ(files().openNew(path("missing/file")).error().code, ENOENT);
    const auto stream = files().openNew(path("new"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(files().write(stream.value(), "abc").value(), 3U);
    EXPECT_TRUE(files().seek(stream.value(), 1).ok());
    EXPECT_EQ(read(stream.value(), 4), "bc(end)");
    files().close(stream.value());
    EXPECT_EQ(files().openNew(path("new")).error().code, EEXIST);
    EXPECT_EQ(world().content(path("old")), "kept");
    EXPECT_FALSE(world().contains(path("made")));
}

TEST_P(FileWritingContract, ExistingFilesOpenWithTheirContent) {
    world().addFile(path("file"), "0123456789");
    world().addFolder(path("folder"));
    world().addLink(path("link"), "file");
    EXPECT_EQ(files().openExisting(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().openExisting(path("folder")).error().code, EISDIR);
    EXPECT_EQ(files().openExisting(path("link")).error().code, ELOOP);
    const auto stream = files().openExisting(path("file"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(files().write(stream.value(), "abc").value(), 3U);
    EXPECT_EQ(read(stream.value(), 3), "345");
    EXPECT_EQ(world().content(path("file")), "abc3456789");
    EXPECT_TRUE(files().truncate(stream.value()).ok());
    EXPECT_EQ(files().write(stream.value(), "xy").value(), 2U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("file")), "xy");
}

TEST_P(FileWritingContract, StreamsKnowTheirFiles) {
    world().addFile(path("file"), "");
    world().addFile(path("other"), "");
    world().addLink(path("link"), "file");
    const auto stream = files().openForReading(path("link"));
    ASSERT_TRUE(stream.ok());
    const platform::FileIdentity identity = files().identity(stream.value()).value();
    EXPECT_EQ(identity, files().existence(path("file")).identity);
    EXPECT_NE(identity, files().existence(path("other")).identity);
    EXPECT_TRUE(files().moveItem(path("file"), path("moved")).ok());
    EXPECT_EQ(files().identity(stream.value()).value(), identity);
    files().close(stream.value());
    EXPECT_EQ(files().identity(stream.value()).error().code, EBADF);
}

TEST_P(FileWritingContract, OnlyTheEmptyFileOfAStreamIsRemoved) {
    const auto stream = files().openNew(path("made"));
    ASSERT_TRUE(stream.ok());
    world().addFile(path("other"), "");
    world().addLink(path("link"), "made");
    for (const char* name : {"other", "link"})
        EXPECT_EQ(files().removeEmpty(path(name), stream.value()).error().code, ESTALE) << name;
    EXPECT_EQ(files().write(stream.value(), "abc").value(), 3U);
    EXPECT_EQ(files().removeEmpty(path("made"), stream.value()).error().code, ESTALE);
    EXPECT_TRUE(files().truncate(stream.value()).ok());
    EXPECT_TRUE(files().removeEmpty(path("made"), stream.value()).ok());
    EXPECT_EQ(files().removeEmpty(path("made"), stream.value()).error().code, ENOENT);
    files().close(stream.value());
    EXPECT_THAT(files().contentsOfDirectory(path("")).value(),
                UnorderedElementsAre("other", "link"));
}

TEST_P(FileWritingContract, StreamsWriteBehindTheEnd) {
    const auto stream = files().openTruncated(path("file"));
    ASSERT_TRUE(stream.ok());
    EXPECT_TRUE(files().seek(stream.value(), 3).ok());
    EXPECT_EQ(files().write(stream.value(), "x").value(), 1U);
    files().close(stream.value());
    EXPECT_EQ(world().content(path("file")), std::string("\0\0\0x", 4));
}

TEST_P(FileWritingContract, FoldersOpenForReadingButCannotBeRead) {
    world().addFolder(path("folder"));
    const auto stream = files().openForReading(path("folder"));
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(read(stream.value(), 4), "(Is a directory)");
    files().close(stream.value());
    EXPECT_EQ(files().openTruncated(path("folder")).error().code, EISDIR);
    EXPECT_EQ(files().openForReading(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().openTruncated(path("missing/file")).error().code, ENOENT);
    EXPECT_EQ(files().openForReading("relative").error().code, ENOENT);
    EXPECT_EQ(files().openTruncated("").error().code, ENOENT);
}

TEST_P(FileWritingContract, OpeningCreatesNothing) {
    world().addFolder(path("folder"));
    EXPECT_EQ(files().openForAppending(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().openForAppending(path("folder")).error().code, EISDIR);
    EXPECT_FALSE(world().contains(path("missing")));
}

TEST_P(FileWritingContract, ClosedStreamsAreBadDescriptors) {
    world().addFile(path("file"), "");
    const auto stream = files().openForAppending(path("file"));
    ASSERT_TRUE(stream.ok());
    files().close(stream.value());
    EXPECT_EQ(files().write(stream.value(), "text").error().code, EBADF);
    EXPECT_EQ(files().seekToEnd(stream.value()).error().text, "Bad file descriptor");
    EXPECT_EQ(files().seek(stream.value(), 0).error().code, EBADF);
    EXPECT_EQ(read(stream.value(), 4), "(Bad file descriptor)");
}

} // namespace
} // namespace quorvane::testing
