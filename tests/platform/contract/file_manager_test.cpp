// What every file manager owes its callers: looking, removing, moving, making folders.
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class FileManagerContract : public DiskContract {};

INSTANTIATE_TEST_SUITE_P(Of, FileManagerContract, ::testing::Values(&kFakeWorld, &kLinuxWorld),
                         worldName);

TEST_P(FileManagerContract, ExistenceTellsFilesFromFolders) {
    world().addFile(path("folder/file"), "");
    EXPECT_TRUE(files().existence(path("folder")).isDirectory);
    EXPECT_TRUE(files().existence(path("folder/")).isDirectory);
    EXPECT_TRUE(files().existence(path("folder/file")).exists);
    EXPECT_FALSE(files().existence(path("folder/file")).isDirectory);
    EXPECT_FALSE(files().existence(path("missing")).exists);
    EXPECT_FALSE(files().existence(path("folder/file/below")).exists);
    EXPECT_FALSE(files().existence("").exists);
    EXPECT_FALSE(files().existence("relative").exists);
    EXPECT_TRUE(files().existence("/").isDirectory);
}

TEST_P(FileManagerContract, ExistenceFollowsLinks) {
    world().addFolder(path("folder"));
    world().addLink(path("toFolder"), path("folder"));
    world().addLink(path("relative"), "folder");
    world().addLink(path("dangling"), path("missing"));
    world().addLink(path("loop"), path("pool"));
    world().addLink(path("pool"), path("loop"));
    EXPECT_TRUE(files().existence(path("toFolder")).isDirectory);
    EXPECT_TRUE(files().existence(path("relative")).isDirectory);
    EXPECT_FALSE(files().existence(path("dangling")).exists);
    EXPECT_FALSE(files().existence(path("loop")).exists);
    EXPECT_FALSE(files().existence(path("loop/below")).exists);
}

TEST_P(FileManagerContract, ExistenceTellsItemsApart) {
    world().addFolder(path("folder"));
    world().addFolder(path("other"));
    world().addLink(path("link"), path("folder"));
    const auto identity = [&](const char* name) { return files().existence(path(name)).identity; };
    EXPECT_EQ(identity("folder"), identity("link"));
    EXPECT_NE(identity("folder"), identity("other"));
}

TEST_P(FileManagerContract, ListsNamesHiddenOnesIncluded) {
    world().addFile(path("folder/.hidden"), "");
    world().addFile(path("folder/a file\nof two lines"), "");
    world().addFile(path("folder/\xC3\xA4\xFF"), "");
    world().addLink(path("folder/link"), "/nowhere");
    world().addFolder(path("folder/below"));
    world().addLink(path("toFolder"), "folder");
    const auto everything =
        UnorderedElementsAre(".hidden", "a file\nof two lines", "\xC3\xA4\xFF", "link", "below");
    EXPECT_THAT(files().contentsOfDirectory(path("folder")).value(), everything);
    EXPECT_THAT(files().contentsOfDirectory(path("toFolder/")).value(), everything);
    EXPECT_THAT(files().contentsOfDirectory(path("folder/below")).value(), IsEmpty());
}

TEST_P(FileManagerContract, ListingFailsWhereThereIsNoFolder) {
    world().addFile(path("file"), "");
    EXPECT_EQ(files().contentsOfDirectory(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().contentsOfDirectory(path("missing")).error().text,
              "No such file or directory");
    EXPECT_EQ(files().contentsOfDirectory(path("file")).error().code, ENOTDIR);
    EXPECT_EQ(files().contentsOfDirectory("").error().code, ENOENT);
}

TEST_P(FileManagerContract, RemovesFilesAndTrees) {
    world().addFile(path("file"), "");
    world().addFile(path("tree/a/b/c"), "");
    world().addFile(path("tree/a/d"), "");
    world().addFolder(path("tree/empty"));
    EXPECT_TRUE(files().removeItem(path("file")).ok());
    EXPECT_TRUE(files().removeItem(path("tree/")).ok());
    EXPECT_FALSE(world().contains(path("file")));
    EXPECT_FALSE(world().contains(path("tree")));
}

TEST_P(FileManagerContract, RemovesLinksNotTheirTargets) {
    world().addFile(path("kept/file"), "");
    world().addLink(path("link"), path("kept"));
    world().addLink(path("slashed"), path("kept"));
    world().addLink(path("dangling"), path("missing"));
    world().addLink(path("tree/link"), path("kept"));
    world().addLink(path("tree/loop"), "loop");
    for (const char* name : {"link", "slashed/", "dangling", "tree"})
        EXPECT_TRUE(files().removeItem(path(name)).ok()) << name;
    for (const char* name : {"link", "slashed", "dangling", "tree"})
        EXPECT_FALSE(world().contains(path(name))) << name;
    EXPECT_TRUE(world().contains(path("kept/file")));
}

TEST_P(FileManagerContract, RemovesThroughLinksAboveTheItem) {
    world().addFile(path("folder/file"), "");
    world().addLink(path("link"), path("folder"));
    EXPECT_TRUE(files().removeItem(path("link/file")).ok());
    EXPECT_FALSE(world().contains(path("folder/file")));
}

TEST_P(FileManagerContract, RemovingWhatIsNotThereFails) {
    EXPECT_EQ(files().removeItem(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().removeItem("").error().code, ENOENT);
    EXPECT_EQ(files().removeItem("/").error().code, EBUSY);
    world().addFile(path("file"), "");
    EXPECT_EQ(files().removeItem(path("file") + Path("\0more", 5)).error().code, EINVAL);
    EXPECT_TRUE(world().contains(path("file")));
}

TEST_P(FileManagerContract, MovesItems) {
    world().addFile(path("from/file"), "content");
    world().addFolder(path("to"));
    world().addLink(path("link"), "/nowhere");
    EXPECT_TRUE(files().moveItem(path("from/"), path("to/there/")).ok());
    EXPECT_EQ(world().content(path("to/there/file")), "content");
    EXPECT_FALSE(world().contains(path("from")));
    EXPECT_TRUE(files().moveItem(path("link"), path("to/link")).ok());
    EXPECT_TRUE(world().isLink(path("to/link")));
}

TEST_P(FileManagerContract, MovingNeverReplaces) {
    world().addFile(path("file"), "content");
    world().addFile(path("taken"), "kept");
    world().addFolder(path("folder"));
    world().addFolder(path("emptyFolder"));
    world().addLink(path("dangling"), "/nowhere");
    for (const char* taken : {"taken", "folder", "dangling"})
        EXPECT_EQ(files().moveItem(path("file"), path(taken)).error().code, EEXIST) << taken;
    EXPECT_EQ(files().moveItem(path("folder"), path("emptyFolder")).error().text, "File exists");
    EXPECT_EQ(world().content(path("taken")), "kept");
    EXPECT_TRUE(world().isLink(path("dangling")));
}

TEST_P(FileManagerContract, AnItemMovedToItsOwnPathStays) {
    world().addFile(path("file"), "content");
    EXPECT_TRUE(files().moveItem(path("file"), path("file/")).ok());
    EXPECT_EQ(world().content(path("file")), "content");
}

TEST_P(FileManagerContract, MovingFailsWithoutSourceOrFolder) {
    world().addFile(path("file"), "content");
    world().addFolder(path("folder"));
    EXPECT_EQ(files().moveItem(path("missing"), path("to")).error().code, ENOENT);
    EXPECT_EQ(files().moveItem(path("file"), path("missing/to")).error().code, ENOENT);
    EXPECT_EQ(files().moveItem(path("file"), path("file/to")).error().code, ENOTDIR);
    EXPECT_EQ(files().moveItem(path("folder"), path("folder/below")).error().code, EINVAL);
    EXPECT_EQ(world().content(path("file")), "content");
    EXPECT_THAT(files().contentsOfDirectory(path("folder")).value(), IsEmpty());
}

TEST_P(FileManagerContract, MakesFoldersAndThoseAbove) {
    world().addFolder(path("folder"));
    world().addLink(path("link"), path("folder"));
    EXPECT_TRUE(files().createDirectories(path("a/b/c/")).ok());
    EXPECT_TRUE(files().existence(path("a/b/c")).isDirectory);
    EXPECT_TRUE(files().createDirectories(path("a/b/c")).ok());
    EXPECT_TRUE(files().createDirectories(path("link")).ok());
    EXPECT_TRUE(files().createDirectories(path("link/below")).ok());
    EXPECT_TRUE(files().existence(path("folder/below")).isDirectory);
    EXPECT_TRUE(files().createDirectories("/").ok());
}

TEST_P(FileManagerContract, MakingFoldersFailsWhereSomethingElseStands) {
    world().addFile(path("file"), "");
    world().addLink(path("dangling"), "/nowhere");
    world().addLink(path("loop"), "loop");
    EXPECT_EQ(files().createDirectories(path("file")).error().code, EEXIST);
    EXPECT_EQ(files().createDirectories(path("dangling")).error().code, EEXIST);
    EXPECT_EQ(files().createDirectories(path("loop")).error().code, EEXIST);
    EXPECT_EQ(files().createDirectories(path("file/below")).error().code, ENOTDIR);
    EXPECT_EQ(files().createDirectories("").error().code, ENOENT);
    EXPECT_EQ(files().createDirectories(path(std::string(256, 'n'))).error().code, ENAMETOOLONG);
}

} // namespace
} // namespace quorvane::testing
