#include "platform/linux/trash_places.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/trash_fixture.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;

class TrashPlaces : public quorvane::testing::TrashFixture {
protected:
    bool isTrashed(const Path& path) { return liesInTrash(path, trashOwner(*identity)).value(); }
};

TEST_F(TrashPlaces, AreBelowTheHomesTrash) {
    scratch.addFile("source/a/inner");
    ASSERT_EQ(recycle({"a"}), 0);
    EXPECT_TRUE(isTrashed(files + "/a"));
    EXPECT_TRUE(isTrashed(files + "/a/inner"));
    EXPECT_TRUE(isTrashed(files + "/missing"));
    EXPECT_TRUE(isTrashed(infos + "/a.trashinfo"));
    EXPECT_TRUE(isTrashed(*identity->home + "/.Trash/a"));
    EXPECT_FALSE(isTrashed(*identity->home + "/.Trash"));
    EXPECT_FALSE(isTrashed(trashFolder));
    EXPECT_FALSE(isTrashed(source + "/a"));
    EXPECT_FALSE(isTrashed(*identity->home + "/.local/share/Trashed/a"));
}

TEST_F(TrashPlaces, AreKnownByAnyPath) {
    scratch.addFile("source/a/inner/innermost");
    ASSERT_EQ(recycle({"a"}), 0);
    fs::create_directory_symlink(files, source + "/to files");
    fs::create_directory_symlink(files + "/a", source + "/to a");
    EXPECT_TRUE(isTrashed(source + "/to files/a"));
    EXPECT_TRUE(isTrashed(source + "/to a/inner"));
    EXPECT_TRUE(isTrashed(files + "//a///"));
    EXPECT_TRUE(isTrashed(files + "/./a/."));
    EXPECT_TRUE(isTrashed(source + "/../home/.local/share/Trash/files/a"));
    EXPECT_TRUE(isTrashed(files + "/a/inner/.."));
    EXPECT_TRUE(isTrashed(files + "/a/../a"));
    EXPECT_FALSE(isTrashed(files + "/../../../../../source"));
}

TEST_F(TrashPlaces, AreTheItemsOwn) {
    scratch.addFile("source/a");
    scratch.addFile("source/kept/inner");
    fs::create_directory_symlink(source + "/kept", source + "/leads out");
    ASSERT_EQ(recycle({"a", "leads out"}), 0);
    fs::create_symlink(files + "/a", source + "/leads in");
    EXPECT_FALSE(isTrashed(source + "/leads in"));
    EXPECT_TRUE(isTrashed(files + "/leads out"));
    EXPECT_FALSE(isTrashed(files + "/leads out/inner"));
}

TEST_F(TrashPlaces, AreInTheDataHomeOfTheEnvironmentToo) {
    scratch.addFile("source/a");
    scratch.addFile("source/b");
    ASSERT_EQ(recycle({"a"}), 0);
    ::setenv("XDG_DATA_HOME", (scratch / "data").c_str(), 1);
    ASSERT_EQ(recycle({"b"}), 0);
    EXPECT_TRUE(isTrashed(scratch / "data/Trash/files/b"));
    EXPECT_TRUE(isTrashed(files + "/a")); // the desktop's own programs may know another folder
    EXPECT_FALSE(isTrashed(scratch / "data/a"));
}

TEST_F(TrashPlaces, AreWhereAHomesOwnTrashFolderLeads) {
    scratch.addFile("home/.Trash/a");
    EXPECT_TRUE(isTrashed(*identity->home + "//.Trash/a"));
    fs::remove_all(scratch / "home/.Trash");
    scratch.addFile("bin/a");
    fs::create_directory_symlink(scratch / "bin", scratch / "home/.Trash");
    EXPECT_TRUE(isTrashed(scratch / "bin/a"));
}

TEST_F(TrashPlaces, AreOnVolumesWhoeverTheyBelongTo) {
    for (const Path place : {".Trash/1000/files/a", ".Trash/1001/files/a", ".Trash-1000/files/a",
                             ".Trash-1001/files/a", ".Trash-0/files/a", ".Trash-1000/a"})
        EXPECT_TRUE(isTrashed(scratch.addFile(place))) << place;
    for (const Path place : {".Trash-/a", ".Trash-anna/a", ".Trash-1000.old/a", ".Trashes/a",
                             "Trash/files/a", "Trash-1000/a"})
        EXPECT_FALSE(isTrashed(scratch.addFile(place))) << place;
    EXPECT_FALSE(isTrashed(scratch / ".Trash-1000"));
    fs::create_directory_symlink(scratch / ".Trash-1001/files", scratch / "link");
    EXPECT_TRUE(isTrashed(scratch / "link/a"));
}

TEST_F(TrashPlaces, AreThoseOfOtherUsersHomes) {
    EXPECT_TRUE(isTrashed(scratch.addFile("carl/.local/share/Trash/files/a")));
    EXPECT_TRUE(isTrashed(scratch.addFile("carl/.Trash/a")));
    EXPECT_FALSE(isTrashed(scratch.addFile("carl/share/Trash/a")));
}

TEST_F(TrashPlaces, AreKnownWhereTheyAreMountedAgain) {
    QV_NEEDS_SUPERUSER();
    scratch.addFile("source/a/inner/innermost");
    scratch.addFile("other/.Trash-1000/files/a/inner");
    scratch.addFolder("point");
    ::setenv("XDG_DATA_HOME", (scratch / "data").c_str(), 1); // no name tells of this Trash
    ASSERT_EQ(recycle({"a"}), 0);
    const Path point = scratch / "point";
    const auto isTrashedAt = [&](const Path& bound, const Path& path) {
        bool found = false;
        quorvane::testing::bindFolder(scratch / bound, point);
        found = isTrashed(point + "/" + path);
        EXPECT_EQ(::umount(point.c_str()), 0);
        return found;
    };
    quorvane::testing::inPrivateMounts([&] {
        EXPECT_TRUE(isTrashedAt("data", "Trash/files/a"));
        EXPECT_TRUE(isTrashedAt("data/Trash", "files/a"));
        EXPECT_TRUE(isTrashedAt("data/Trash/files", "a"));
        EXPECT_TRUE(isTrashedAt("data/Trash/files/a", "inner"));
        EXPECT_TRUE(isTrashedAt("data/Trash/files/a/inner", "innermost"));
        EXPECT_TRUE(isTrashedAt("other", ".Trash-1000/files/a"));
        EXPECT_TRUE(isTrashedAt("other/.Trash-1000/files", "a"));
        EXPECT_TRUE(isTrashedAt("other/.Trash-1000/files/a", "inner"));
        EXPECT_FALSE(isTrashedAt("data", "a"));
        EXPECT_FALSE(isTrashedAt("source", "a"));
        // The same names, but on another volume.
        quorvane::testing::mountVolume("tmpfs", point, {});
        fs::create_directories(point + scratch.path() + "/data/Trash/files/a");
        EXPECT_FALSE(isTrashed(point + scratch.path() + "/data/Trash/files/a"));
    });
}

/// Whose mounts the system does not tell.
TEST_F(TrashPlaces, AreKnownToAProcessWithARootOfItsOwn) {
    QV_NEEDS_SUPERUSER();
    scratch.addFile("source/a");
    scratch.addFile("source/b");
    scratch.addFile(".Trash-1000/files/a");
    scratch.addFolder("proc");
    ASSERT_EQ(recycle({"a"}), 0);
    quorvane::testing::inPrivateMounts([&] {
        quorvane::testing::mountVolume("proc", scratch / "proc");
        ASSERT_EQ(::chroot(scratch.path().c_str()), 0);
        identity->home = "/home";
        EXPECT_TRUE(isTrashed("/home/.local/share/Trash/files/a"));
        EXPECT_TRUE(isTrashed("/.Trash-1000/files/a"));
        EXPECT_FALSE(isTrashed("/source/b"));
    });
}

TEST_F(TrashPlaces, HaveNothingToDoWithPathsThatLeadNowhere) {
    for (const Path& path : {Path(), Path("/"), Path("relative"), Path("/missing/.Trash-1/a"),
                             Path("/a\0b", 4), source + "/" + std::string(300, 'n') + "/a"})
        EXPECT_FALSE(isTrashed(path)) << path;
}

TEST_F(TrashPlaces, WithoutAHomeThereAreThoseOnVolumes) {
    identity->home.reset();
    EXPECT_TRUE(isTrashed(scratch.addFile(".Trash-1000/files/a")));
    EXPECT_FALSE(isTrashed(scratch.addFile("source/a")));
}

} // namespace
} // namespace quorvane::platform::linux_
