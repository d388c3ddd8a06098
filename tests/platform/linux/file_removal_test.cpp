// Removing what is deep, protected, changing or odd.
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/file_manager.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/folder_chain.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

class FileRemoval : public ::testing::Test {
protected:
    bool contains(std::string_view relative) const {
        return fs::symlink_status(scratch_ / relative).type() != fs::file_type::not_found;
    }
    platform::Result<void> remove(std::string_view relative) {
        return files_->removeItem(scratch_ / relative);
    }

    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();
};

TEST_F(FileRemoval, RemovesTenThousandLevelsWithFewDescriptors) {
    addChain(scratch_.addFolder("deep"), 10'000, ChainHolds::folders);
    {
        const FewDescriptors few(64);
        EXPECT_TRUE(remove("deep").ok());
    }
    EXPECT_FALSE(contains("deep"));
}

TEST_F(FileRemoval, RemovesManyEntries) {
    for (int number = 0; number < 5'000; ++number)
        scratch_.addFile("wide/a rather long name of a file " + std::to_string(number));
    EXPECT_TRUE(remove("wide").ok());
    EXPECT_FALSE(contains("wide"));
}

TEST_F(FileRemoval, RemovesAnyName) {
    const std::string longest(255, 'n');
    for (const std::string& name :
         {longest, std::string("\xFF\xFE"), std::string("two\nlines"), std::string(" "),
          std::string("..."), std::string("-rf"), std::string("\xC3\xA4")}) {
        const fs::path item = fs::path("folder") / name;
        scratch_.addFile((item / name).native());
        EXPECT_TRUE(remove(item.native()).ok()) << name;
        EXPECT_FALSE(contains(item.native())) << name;
    }
    EXPECT_EQ(remove(longest + "n").error().code, ENAMETOOLONG);
    EXPECT_EQ(remove(std::string(5'000, '/') + "x").error().code, ENAMETOOLONG);
}

TEST_F(FileRemoval, RefusesFoldersNamedByDots) {
    scratch_.addFile("folder/below/file");
    EXPECT_EQ(remove("folder/.").error().code, EINVAL);
    EXPECT_EQ(remove("folder/below/..").error().code, EINVAL);
    EXPECT_TRUE(contains("folder/below/file"));
}

TEST_F(FileRemoval, RemovesFifosAndSocketsWithoutOpeningThem) {
    scratch_.addFolder("folder");
    ASSERT_EQ(mkfifo((scratch_ / "folder/fifo").c_str(), 0600), 0);
    ASSERT_EQ(mknod((scratch_ / "folder/socket").c_str(), S_IFSOCK | 0600, 0), 0);
    ASSERT_EQ(mkfifo((scratch_ / "fifo").c_str(), 0600), 0);
    EXPECT_TRUE(remove("folder").ok());
    EXPECT_TRUE(remove("fifo").ok());
}

TEST_F(FileRemoval, StopsAtFoldersOfOthersRights) {
    asOrdinaryUser(scratch_.path(), [&] {
        scratch_.addFolder("empty");
        scratch_.addFile("full/file");
        scratch_.addFile("fixed/file");
        fs::permissions(scratch_ / "empty", fs::perms::none);
        fs::permissions(scratch_ / "full", fs::perms::none);
        fs::permissions(scratch_ / "fixed", fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_TRUE(remove("empty").ok());
        EXPECT_EQ(remove("full").error().text, "Permission denied");
        EXPECT_EQ(remove("fixed").error().code, EACCES);
        EXPECT_EQ(files_->contentsOfDirectory(scratch_ / "full").error().code, EACCES);
        EXPECT_FALSE(files_->isWritable(scratch_ / "fixed"));
        fs::permissions(scratch_ / "full", fs::perms::owner_all);
        fs::permissions(scratch_ / "fixed", fs::perms::owner_all);
        EXPECT_TRUE(contains("full/file"));
        EXPECT_TRUE(contains("fixed/file"));
    });
}

TEST_F(FileRemoval, ToleratesAnotherRemovalOfTheSameTree) {
    for (int round = 0; round < 10; ++round) {
        for (int number = 0; number < 40; ++number)
            scratch_.addFile("tree/" + std::to_string(number) + "/below/file");
        const auto removeIt = [&] {
            const auto removed = platform::linux_::makeFileManager()->removeItem(scratch_ / "tree");
            EXPECT_TRUE(removed.ok() || removed.error().code == ENOENT)
                << (removed.ok() ? "" : removed.error().text);
        };
        std::thread other(removeIt);
        removeIt();
        other.join();
        EXPECT_FALSE(contains("tree"));
    }
}

TEST_F(FileRemoval, NeverGoesThroughALinkPutInAFoldersPlace) {
    scratch_.addFile("kept/file");
    for (int round = 0; round < 50; ++round) {
        scratch_.addFile("tree/swapped/file");
        fs::create_directory_symlink(scratch_ / "kept", scratch_ / "tree/link");
        std::atomic<bool> done = false;
        std::thread attacker([&] {
            while (!done)
                renameat2(AT_FDCWD, (scratch_ / "tree/swapped").c_str(), AT_FDCWD,
                          (scratch_ / "tree/link").c_str(), RENAME_EXCHANGE);
        });
        (void)remove("tree"); // may fail: what matters is what it leaves alone
        done = true;
        attacker.join();
        ASSERT_TRUE(contains("kept/file"));
        fs::remove_all(scratch_ / "tree");
    }
}

TEST_F(FileRemoval, NeverGoesUpIntoAnotherFolder) {
    constexpr int kDepth = 150;
    std::string middle = "tree";
    for (int level = 0; level < kDepth / 2; ++level) middle += "/below";
    std::string deepest = "tree";
    for (int level = 0; level < kDepth; ++level) deepest += "/below";
    for (int round = 0; round < 5; ++round) {
        scratch_.addFile("kept/file");
        addChain(scratch_.addFolder("tree"), kDepth, ChainHolds::foldersAndFiles);
        std::thread attacker([&] {
            while (contains(deepest)) {
            }
            rename((scratch_ / middle).c_str(), (scratch_ / "kept/below").c_str());
        });
        (void)remove("tree"); // may fail: what matters is what it leaves alone
        attacker.join();
        ASSERT_TRUE(contains("kept/file"));
        fs::remove_all(scratch_ / "tree");
        fs::remove_all(scratch_ / "kept");
    }
}

TEST_F(FileRemoval, NeverCrossesOntoAMountedVolume) {
    QV_NEEDS_SUPERUSER();
    scratch_.addFolder("tree/below/volume");
    inPrivateMounts([&] {
        mountVolume("tmpfs", scratch_ / "tree/below/volume");
        scratch_.addFile("tree/below/volume/file");
        EXPECT_EQ(remove("tree").error().text, "Device or resource busy");
        EXPECT_EQ(remove("tree/below/volume").error().code, EBUSY);
        EXPECT_TRUE(contains("tree/below/volume/file"));
    });
}

class FileRemovalAroundMounts : public FileRemoval {
protected:
    /// Something before and behind every place where a walk may meet the mount.
    void addTree() {
        for (const char* name : {"tree/a", "tree/m/a", "tree/m/z", "tree/z", "tree/z0/deep/file"})
            scratch_.addFile(name, "kept");
        scratch_.addFile("elsewhere/file", "bound");
    }
    void expectAllThere() {
        for (const char* name : {"tree/a", "tree/m/a", "tree/m/z", "tree/z", "tree/z0/deep/file"})
            EXPECT_EQ(contentOf(scratch_ / name), "kept") << name;
        EXPECT_EQ(contentOf(scratch_ / "elsewhere/file"), "bound");
    }
};

TEST_F(FileRemovalAroundMounts, RemovesNothingBesideAVolume) {
    QV_NEEDS_SUPERUSER();
    addTree();
    scratch_.addFolder("tree/m/mounted here");
    inPrivateMounts([&] {
        mountVolume("tmpfs", scratch_ / "tree/m/mounted here");
        EXPECT_EQ(remove("tree").error().code, EBUSY);
        expectAllThere();
    });
}

TEST_F(FileRemovalAroundMounts, RemovesNothingBesideABoundFolder) {
    QV_NEEDS_SUPERUSER();
    addTree();
    scratch_.addFolder("tree/m/bound");
    inPrivateMounts([&] {
        bindFolder(scratch_ / "elsewhere", scratch_ / "tree/m/bound");
        EXPECT_EQ(remove("tree").error().code, EBUSY);
        EXPECT_EQ(remove("tree/m/bound").error().code, EBUSY);
        expectAllThere();
    });
}

TEST_F(FileRemovalAroundMounts, RemovesNothingBesideABoundFile) {
    QV_NEEDS_SUPERUSER();
    addTree();
    scratch_.addFile("tree/m/bound");
    inPrivateMounts([&] {
        bindFolder(scratch_ / "elsewhere/file", scratch_ / "tree/m/bound");
        EXPECT_EQ(remove("tree").error().code, EBUSY);
        EXPECT_EQ(remove("tree/m/bound").error().code, EBUSY);
        expectAllThere();
    });
}

TEST_F(FileRemovalAroundMounts, RemovesNothingByAnotherWayToTheFolderOfAMount) {
    QV_NEEDS_SUPERUSER();
    addTree();
    scratch_.addFolder("tree/m/mounted here");
    scratch_.addFolder("another way");
    inPrivateMounts([&] {
        bindFolder(scratch_ / "tree", scratch_ / "another way");
        mountVolume("tmpfs", scratch_ / "tree/m/mounted here");
        EXPECT_EQ(remove("another way/m").error().code, EBUSY);
        expectAllThere();
        EXPECT_TRUE(remove("another way/z0").ok());
    });
}

TEST_F(FileRemovalAroundMounts, RemovesWhatLiesBesideOne) {
    QV_NEEDS_SUPERUSER();
    addTree();
    scratch_.addFolder("tree/z0 volume");
    inPrivateMounts([&] {
        mountVolume("tmpfs", scratch_ / "tree/z0 volume");
        scratch_.addFile("tree/z0 volume/folder/file");
        EXPECT_TRUE(remove("tree/z0").ok());
        EXPECT_TRUE(remove("tree/z0 volume/folder").ok());
    });
}

} // namespace
} // namespace quorvane::testing
