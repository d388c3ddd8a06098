#include "platform/linux/trash_hand_over.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "platform/linux/file_removal.h"
#include "platform/linux/open_folders.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/folder_chain.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

using platform::linux_::Descriptor;

class TrashHandOver : public ::testing::Test {
protected:
    void SetUp() override { QV_NEEDS_SUPERUSER(); }

    void handOver(std::string_view name) {
        const Descriptor folder = platform::linux_::openFolder(AT_FDCWD, (scratch_ / name).c_str(),
                                                               platform::linux_::LastLink::keep);
        ASSERT_TRUE(folder);
        platform::linux_::handOverFolders(folder.get(), kOrdinaryUser);
    }
    uid_t ownerOf(std::string_view name) {
        struct stat status {};
        EXPECT_EQ(::lstat((scratch_ / name).c_str(), &status), 0) << name;
        return status.st_uid;
    }

    const ScratchFolder scratch_;
};

TEST_F(TrashHandOver, GivesFoldersAndNothingElse) {
    scratch_.addFile("item/inner/file");
    scratch_.addFolder("elsewhere");
    std::filesystem::create_directory_symlink(scratch_ / "elsewhere", scratch_ / "item/link");
    handOver("item");
    EXPECT_EQ(ownerOf("item"), kOrdinaryUser);
    EXPECT_EQ(ownerOf("item/inner"), kOrdinaryUser);
    EXPECT_EQ(ownerOf("item/inner/file"), 0U);
    EXPECT_EQ(ownerOf("item/link"), 0U);
    EXPECT_EQ(ownerOf("elsewhere"), 0U);
}

TEST_F(TrashHandOver, GivesNoFolderThatOnlyItsOwnerMayEnter) {
    scratch_.addFile("item/closed/below/file");
    ASSERT_EQ(chmod((scratch_ / "item/closed").c_str(), 0750), 0);
    handOver("item");
    EXPECT_EQ(ownerOf("item"), kOrdinaryUser);
    EXPECT_EQ(ownerOf("item/closed"), 0U);
    EXPECT_EQ(ownerOf("item/closed/below"), 0U);
}

TEST_F(TrashHandOver, GivesNoBoundFolder) {
    scratch_.addFolder("elsewhere/below");
    for (const char* name : {"item/a", "item/bound", "item/z"}) scratch_.addFolder(name);
    inPrivateMounts([&] {
        bindFolder(scratch_ / "elsewhere", scratch_ / "item/bound");
        handOver("item");
        EXPECT_EQ(ownerOf("elsewhere"), 0U);
        EXPECT_EQ(ownerOf("elsewhere/below"), 0U);
        for (const char* name : {"item", "item/a", "item/z"})
            EXPECT_EQ(ownerOf(name), kOrdinaryUser) << name;
    });
}

TEST_F(TrashHandOver, GoesAsDeepAsTheTreeGoesWithFewDescriptors) {
    constexpr int kDepth = 600;
    addChain(scratch_.addFolder("item"), kDepth, ChainHolds::folders);
    {
        const FewDescriptors few(64);
        handOver("item");
    }
    struct stat status {};
    ASSERT_EQ(::fstat(openDeepest(scratch_ / "item", kDepth).get(), &status), 0);
    EXPECT_EQ(status.st_uid, kOrdinaryUser);
    EXPECT_EQ(ownerOf("item"), kOrdinaryUser);
    EXPECT_TRUE(platform::linux_::removeTree(scratch_ / "item").ok());
}

} // namespace
} // namespace quorvane::testing
