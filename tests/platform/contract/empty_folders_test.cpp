// What every file manager owes its callers: folders that are left empty go, and nothing else.
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

class EmptyFoldersContract : public DiskContract {
protected:
    int check(std::string_view relative) {
        return codeOf(files().checkEmptyFolders(path(relative)));
    }
    int remove(std::string_view relative) {
        return codeOf(files().removeEmptyFolders(path(relative)));
    }
    /// Whether both refuse it with this error.
    void expectRefused(std::string_view relative, int code) {
        EXPECT_EQ(check(relative), code) << relative;
        EXPECT_EQ(remove(relative), code) << relative;
    }
    bool contains(std::string_view relative) { return world().contains(path(relative)); }

private:
    static int codeOf(const platform::Result<void>& done) { return done ? 0 : done.error().code; }
};

INSTANTIATE_TEST_SUITE_P(Of, EmptyFoldersContract, ::testing::Values(&kFakeWorld, &kLinuxWorld),
                         worldName);

TEST_P(EmptyFoldersContract, RemovesATreeOfEmptyFolders) {
    world().addFolder(path("d/one/two/three"));
    world().addFolder(path("d/one/other"));
    EXPECT_EQ(check("d"), 0);
    EXPECT_TRUE(contains("d/one/two/three"));
    EXPECT_EQ(remove("d/"), 0);
    EXPECT_FALSE(contains("d"));
}

TEST_P(EmptyFoldersContract, TakesTheDesktopsMetadataAlong) {
    world().addFile(path("d/.DS_Store"), "store");
    world().addFile(path("d/sub/Icon\r"), "icon");
    world().addFile(path("d/sub/.DS_Store"), "");
    EXPECT_EQ(check("d"), 0);
    EXPECT_EQ(remove("d"), 0);
    EXPECT_FALSE(contains("d"));
}

TEST_P(EmptyFoldersContract, LeavesEverythingWhereAnythingElseIs) {
    const char* const others[] = {"d/file", "d/.hidden", "d/sub/deep/Icon", "d/sub/.ds_store",
                                  "d/new\nline"};
    for (const char* other : others) {
        world().addFolder(path("d/empty"));
        world().addFile(path("d/.DS_Store"), "store");
        world().addFile(path(other), "content");
        expectRefused("d", ENOTEMPTY);
        EXPECT_TRUE(contains("d/empty"));
        EXPECT_EQ(world().content(path("d/.DS_Store")), "store");
        EXPECT_EQ(world().content(path(other)), "content");
        ASSERT_TRUE(files().removeItem(path("d")).ok());
    }
}

TEST_P(EmptyFoldersContract, FollowsNoLink) {
    world().addFolder(path("elsewhere/empty"));
    world().addLink(path("link"), path("elsewhere"));
    world().addLink(path("d/link"), path("elsewhere"));
    world().addLink(path("named/.DS_Store"), path("elsewhere"));
    expectRefused("link", ENOTDIR);
    expectRefused("d", ENOTEMPTY);
    expectRefused("named", ENOTEMPTY);
    EXPECT_TRUE(contains("elsewhere/empty"));
    EXPECT_TRUE(world().isLink(path("named/.DS_Store")));
}

TEST_P(EmptyFoldersContract, AFolderNamedLikeMetadataIsAFolder) {
    world().addFile(path("full/.DS_Store/file"), "content");
    world().addFolder(path("empty/.DS_Store/Icon\r"));
    expectRefused("full", ENOTEMPTY);
    EXPECT_TRUE(contains("full/.DS_Store/file"));
    EXPECT_EQ(remove("empty"), 0);
    EXPECT_FALSE(contains("empty"));
}

TEST_P(EmptyFoldersContract, RefusesWhatIsNoFolder) {
    world().addFile(path("file"), "content");
    world().addFile(path(".DS_Store"), "content");
    expectRefused("file", ENOTDIR);
    expectRefused(".DS_Store", ENOTDIR);
    expectRefused("missing", ENOENT);
    expectRefused("missing/sub", ENOENT);
    EXPECT_EQ(files().removeEmptyFolders("relative").error().code, ENOENT);
    EXPECT_EQ(world().content(path(".DS_Store")), "content");
}

} // namespace
} // namespace quorvane::testing
