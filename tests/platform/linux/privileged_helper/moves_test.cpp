// What a move, a copy or a removal must leave alone.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/privileged_helper/helper_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::contentOf;
using quorvane::testing::HelperProcess;
using quorvane::testing::ScratchFolder;
namespace fs = std::filesystem;

class HelperMoves : public ::testing::Test {
protected:
    const ScratchFolder scratch_;
};

TEST_F(HelperMoves, NothingIsMovedOntoAFolder) {
    scratch_.addFile("A.app/new");
    scratch_.addFile("file");
    scratch_.addFile("full/old");
    scratch_.addFolder("empty");
    HelperProcess helper;
    for (const char* source : {"A.app", "file"})
        for (const char* destination : {"full", "empty"})
            EXPECT_EQ(helper.refusal({"/bin/mv", "-f", scratch_ / source, scratch_ / destination}),
                      EISDIR)
                << source << " " << destination;
    EXPECT_TRUE(fs::exists(scratch_ / "A.app/new"));
    EXPECT_TRUE(fs::exists(scratch_ / "full/old"));
    EXPECT_TRUE(fs::is_empty(scratch_ / "empty"));
}

TEST_F(HelperMoves, AFolderIsMovedToItself) {
    scratch_.addFile("A.app/file");
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/mv", "-f", scratch_ / "A.app", scratch_ / "A.app"}), 0);
    EXPECT_TRUE(fs::exists(scratch_ / "A.app/file"));
}

TEST_F(HelperMoves, NothingIsReplacedIfAskedSo) {
    scratch_.addFile("new", "new");
    scratch_.addFile("file", "old");
    scratch_.addFolder("folder");
    fs::create_symlink("nowhere", scratch_ / "link");
    HelperProcess helper;
    for (const char* destination : {"file", "folder", "link", "new"}) {
        EXPECT_EQ(helper.refusal({"/bin/mv", "-nT", scratch_ / "new", scratch_ / destination}),
                  EEXIST)
            << destination;
        EXPECT_EQ(helper.refusal(
                      {"/bin/cp", "-nT", "-p", "-R", scratch_ / "new", scratch_ / destination}),
                  EEXIST)
            << destination;
    }
    EXPECT_EQ(contentOf(scratch_ / "file"), "old");
    EXPECT_TRUE(fs::is_symlink(scratch_ / "link"));
    EXPECT_EQ(helper.run({"/bin/cp", "-nT", "-p", "-R", scratch_ / "new", scratch_ / "copy"}), 0);
    EXPECT_EQ(helper.run({"/bin/mv", "-nT", scratch_ / "new", scratch_ / "free"}), 0);
    EXPECT_EQ(contentOf(scratch_ / "free"), "new");
    EXPECT_EQ(contentOf(scratch_ / "copy"), "new");
    EXPECT_EQ(helper.refusal({"/bin/mv", "-nT", scratch_ / "missing", scratch_ / "other"}), ENOENT);
}

TEST_F(HelperMoves, NothingOnAnotherVolumeIsReplacedIfAskedSo) {
    QV_NEEDS_SUPERUSER();
    const Path volume = scratch_.addFolder("volume");
    scratch_.addFile("new", "new");
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", volume);
        scratch_.addFile("volume/file", "old");
        HelperProcess helper;
        EXPECT_EQ(helper.refusal({"/bin/mv", "-nT", scratch_ / "new", volume + "/file"}), EEXIST);
        EXPECT_EQ(contentOf(volume + "/file"), "old");
        EXPECT_EQ(helper.run({"/bin/mv", "-nT", scratch_ / "new", volume + "/free"}), 0);
        EXPECT_EQ(contentOf(volume + "/free"), "new");
        EXPECT_EQ(std::distance(fs::directory_iterator(volume), {}), 2);
    });
}

/// A folder that is shown at another place too, in a tree that somebody wants to be rid of.
class HelperAroundMounts : public HelperMoves {
protected:
    void SetUp() override {
        QV_NEEDS_SUPERUSER();
        for (const char* name : {"tree/a", "tree/m/a", "tree/m/z", "tree/z"})
            scratch_.addFile(name, "kept");
        scratch_.addFile("precious/file", "precious");
        scratch_.addFolder("tree/m/bound");
        scratch_.addFile("tree/m/bound file");
    }
    void expectAllThere() {
        for (const char* name : {"tree/a", "tree/m/a", "tree/m/z", "tree/z"})
            EXPECT_EQ(contentOf(scratch_ / name), "kept") << name;
        EXPECT_EQ(contentOf(scratch_ / "precious/file"), "precious");
    }
    /// None of the commands touches the tree.
    void expectRefusals() {
        HelperProcess helper;
        EXPECT_EQ(helper.refusal({"/bin/rm", "-Rdf", scratch_ / "tree"}), EBUSY);
        EXPECT_EQ(helper.refusal({"/bin/rm", "-R", "-f", scratch_ / "tree"}), EBUSY);
        EXPECT_EQ(helper.refusal({"/bin/mv", "-f", scratch_ / "tree", scratch_ / "moved"}), EBUSY);
        EXPECT_EQ(helper.refusal({"/bin/mv", "-nT", scratch_ / "tree", scratch_ / "moved"}), EBUSY);
        expectAllThere();
        EXPECT_FALSE(fs::exists(scratch_ / "moved"));
    }
};

TEST_F(HelperAroundMounts, ABoundFolderIsNeitherEmptiedNorTakenAlong) {
    testing::inPrivateMounts([&] {
        testing::bindFolder(scratch_ / "precious", scratch_ / "tree/m/bound");
        expectRefusals();
        EXPECT_EQ(HelperProcess().refusal({"/bin/rm", "-Rdf", scratch_ / "tree/m/bound"}), EBUSY);
        expectAllThere();
    });
}

TEST_F(HelperAroundMounts, ABoundFileIsNeitherRemovedNorTakenAlong) {
    testing::inPrivateMounts([&] {
        testing::bindFolder(scratch_ / "precious/file", scratch_ / "tree/m/bound file");
        expectRefusals();
        HelperProcess helper;
        EXPECT_EQ(helper.run({"/bin/rm", "-Rdf", scratch_ / "tree/m/bound file"}), 1);
        EXPECT_EQ(helper.refusal({"/bin/mv", "-f", scratch_ / "tree/m/bound file", scratch_ / "x"}),
                  EBUSY);
        expectAllThere();
    });
}

TEST_F(HelperAroundMounts, AVolumeIsNeitherEmptiedNorTakenAlong) {
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", scratch_ / "tree/m/bound");
        scratch_.addFile("tree/m/bound/file", "on the volume");
        expectRefusals();
        EXPECT_EQ(contentOf(scratch_ / "tree/m/bound/file"), "on the volume");
    });
}

TEST_F(HelperAroundMounts, WhatComesFromAnotherVolumeLeavesItsMounts) {
    testing::inPrivateMounts([&] {
        const Path volume = scratch_.addFolder("volume");
        testing::mountVolume("tmpfs", volume);
        scratch_.addFile("volume/item/a", "kept");
        scratch_.addFolder("volume/item/bound");
        testing::bindFolder(scratch_ / "precious", volume + "/item/bound");
        HelperProcess helper;
        EXPECT_EQ(helper.refusal({"/bin/mv", "-f", volume + "/item", scratch_ / "moved"}), EBUSY);
        EXPECT_EQ(contentOf(volume + "/item/a"), "kept");
        expectAllThere();
    });
}

TEST_F(HelperMoves, ARemovalGoesDeeperThanAPathCanName) {
    const Path top = scratch_.addFolder("deep");
    Descriptor folder(::open(top.c_str(), O_PATH | O_DIRECTORY));
    const std::string name(200, 'd');
    for (int level = 0; level < 60; ++level) {
        ASSERT_EQ(::mkdirat(folder.get(), name.c_str(), 0755), 0);
        folder = Descriptor(::openat(folder.get(), name.c_str(), O_PATH | O_DIRECTORY));
    }
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/rm", "-Rdf", top}), 0);
    EXPECT_TRUE(helper.end());
    EXPECT_FALSE(fs::exists(top));
}

TEST_F(HelperMoves, WhatIsMissingIsRemoved) {
    EXPECT_EQ(HelperProcess().run({"/bin/rm", "-Rdf", scratch_ / "missing"}), 0);
}

} // namespace
} // namespace quorvane::platform::linux_::helper
