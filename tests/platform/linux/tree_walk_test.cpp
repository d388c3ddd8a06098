// Walking what is deep, wide, protected or odd.
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/file_manager.h"
#include "platform/linux/tree_walk.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/folder_chain.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

/// Counts what it visits.
class Counter : public platform::TreeVisitor {
public:
    Answer enterFolder(std::string_view, const platform::FileIdentity&) override {
        ++folders;
        return Answer::goOn;
    }
    void leaveFolder() override { ++left; }
    Answer meetItem(std::string_view, std::uint64_t size) override {
        ++items;
        bytes += size;
        return Answer::goOn;
    }

    int folders = 0;
    int left = 0;
    int items = 0;
    std::uint64_t bytes = 0;
};

class TreeWalk : public ::testing::Test {
protected:
    platform::Result<void> walk(std::string_view folder) {
        return platform::linux_::makeFileManager()->walkTree(scratch_ / folder,
                                                             platform::ItemSizes::told, counter_);
    }

    ScratchFolder scratch_;
    Counter counter_;
};

TEST_F(TreeWalk, GoesTenThousandLevelsDownWithFewDescriptors) {
    addChain(scratch_.addFolder("deep"), 10'000, ChainHolds::foldersAndFiles);
    {
        const FewDescriptors few(64);
        EXPECT_TRUE(walk("deep").ok());
    }
    EXPECT_EQ(counter_.folders, 10'001);
    EXPECT_EQ(counter_.left, 10'001);
    EXPECT_EQ(counter_.items, 10'000);
    EXPECT_TRUE(platform::linux_::makeFileManager()->removeItem(scratch_ / "deep").ok());
}

TEST_F(TreeWalk, ComesBackUpToEverySideBranch) {
    std::string level = "deep";
    for (int depth = 0; depth < 100; ++depth) {
        for (const char* side : {"/a/file", "/z/file"}) scratch_.addFile(level + side, "12");
        level += "/m";
    }
    EXPECT_TRUE(walk("deep").ok());
    EXPECT_EQ(counter_.items, 200);
    EXPECT_EQ(counter_.bytes, 400U);
}

TEST_F(TreeWalk, ComesBackFromBelowLinks) {
    // Each link leads out of the tree, to a chain longer than what stays open.
    for (int number = 0; number < 5; ++number) {
        const std::string name = std::to_string(number);
        addChain(scratch_.addFolder("chain" + name), 50, ChainHolds::foldersAndFiles);
        fs::path deepest = scratch_ / ("chain" + name);
        for (int level = 0; level < 50; ++level) deepest /= "below";
        if (number < 4)
            fs::create_directory_symlink(scratch_ / ("chain" + std::to_string(number + 1)),
                                         deepest / "link");
    }
    EXPECT_TRUE(walk("chain0").ok());
    EXPECT_EQ(counter_.items, 5 * 50);
    EXPECT_EQ(counter_.left, 5 * 51);
}

TEST_F(TreeWalk, ReadsWideFolders) {
    for (int number = 0; number < 3'000; ++number)
        scratch_.addFile("wide/a rather long name of a file " + std::to_string(number), "1");
    scratch_.addFile("wide/" + std::string(255, 'n') + "/" + std::string(255, 'f'), "1");
    EXPECT_TRUE(walk("wide").ok());
    EXPECT_EQ(counter_.items, 3'001);
    EXPECT_EQ(counter_.bytes, 3'001U);
}

TEST_F(TreeWalk, OpensNoFifosSocketsOrDevices) {
    scratch_.addFolder("odd");
    ASSERT_EQ(mkfifo((scratch_ / "odd/fifo").c_str(), 0600), 0);
    ASSERT_EQ(mknod((scratch_ / "odd/socket").c_str(), S_IFSOCK | 0600, 0), 0);
    fs::create_symlink("fifo", scratch_ / "odd/link");
    EXPECT_TRUE(walk("odd").ok());
    EXPECT_EQ(counter_.items, 3);
    EXPECT_EQ(counter_.bytes, 4U); // the link's own size
}

TEST_F(TreeWalk, FoldersOfOthersRightsAreEmptyOnes) {
    asOrdinaryUser(scratch_.path(), [&] {
        scratch_.addFile("d/closed/file", "1");
        scratch_.addFile("d/unsearchable/sub/file", "12");
        fs::permissions(scratch_ / "d/closed", fs::perms::none);
        fs::permissions(scratch_ / "d/unsearchable", fs::perms::owner_read);
        EXPECT_TRUE(walk("d").ok());
        EXPECT_EQ(counter_.folders, 2); // "closed" and what "unsearchable" holds cannot be entered
        EXPECT_EQ(counter_.items, 1);   // nothing tells that "sub" is a folder
        EXPECT_EQ(counter_.bytes, 0U);
        fs::permissions(scratch_ / "d/closed", fs::perms::owner_all);
        fs::permissions(scratch_ / "d/unsearchable", fs::perms::owner_all);
    });
}

TEST_F(TreeWalk, WithoutDescriptorsItFailsRatherThanTellingOfEmptyFolders) {
    scratch_.addFile("d/file", "1");
    const Path folder = scratch_ / "d";
    platform::Result<void> walked;
    {
        const FewDescriptors none(0); // not even for the sanitizers' own checks of objects
        walked = platform::linux_::walkTree(folder, platform::ItemSizes::told, counter_);
    }
    EXPECT_EQ(walked.error().text, "Too many open files");
    EXPECT_EQ(counter_.folders, 0);
}

TEST_F(TreeWalk, GoesOnIntoMountedVolumes) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFolder("d/sub/volume");
    inPrivateMounts([&] {
        mountVolume("tmpfs", scratch_ / "d/sub/volume");
        addChain(scratch_ / "d/sub/volume", 50, ChainHolds::foldersAndFiles);
        EXPECT_TRUE(walk("d").ok());
        EXPECT_EQ(counter_.items, 50);
        EXPECT_EQ(counter_.left, 53);
    });
}

} // namespace
} // namespace quorvane::testing
