#include "platform/linux/superusers_places.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/platform/linux/child_process.h"

namespace quorvane::platform::linux_ {
namespace {

/// A volume whose top belongs to the superuser alone, and a folder on it.
class SuperusersPlaces : public ::testing::Test {
protected:
    void SetUp() override { QV_NEEDS_SUPERUSER(); }

    static void onVolume(const std::function<void()>& body) {
        testing::inPrivateMounts([&] {
            testing::mountVolume("tmpfs", "/mnt", "mode=755");
            std::filesystem::create_directories("/mnt/folder/below");
            body();
        });
    }
    static void give(const Path& item) {
        ASSERT_EQ(::lchown(item.c_str(), testing::kOrdinaryUser, testing::kOrdinaryUser), 0);
    }
    static bool isOne() { return isSuperusersPlace("/mnt/folder/below/A.app"); }
};

TEST_F(SuperusersPlaces, AreBelowFoldersOfTheSuperusersOwn) {
    onVolume([] {
        EXPECT_TRUE(isOne());
        EXPECT_TRUE(isSuperusersPlace("/mnt/folder/below"));
        EXPECT_TRUE(isSuperusersPlace("/A.app"));
        EXPECT_FALSE(isSuperusersPlace("/mnt/missing/A.app"));
        EXPECT_FALSE(isSuperusersPlace(Path("/mnt/folder\0/x/A.app", 20)));
        EXPECT_FALSE(isSuperusersPlace("/mnt/folder/" + std::string(256, 'n') + "/A.app"));
    });
}

TEST_F(SuperusersPlaces, TheItemItselfIsNotLookedAt) {
    onVolume([] {
        ASSERT_EQ(::symlink("/tmp", "/mnt/folder/below/A.app"), 0);
        EXPECT_TRUE(isOne());
        give("/mnt/folder/below/A.app");
        EXPECT_TRUE(isOne());
    });
}

TEST_F(SuperusersPlaces, HaveNoLinkAboveThem) {
    onVolume([] {
        ASSERT_EQ(::symlink("folder", "/mnt/link"), 0);
        EXPECT_FALSE(isSuperusersPlace("/mnt/link/A.app"));
        EXPECT_FALSE(isSuperusersPlace("/mnt/link/below/A.app"));
    });
}

TEST_F(SuperusersPlaces, HaveNoFolderOfOthersAboveThem) {
    for (const Path folder : {"/mnt", "/mnt/folder", "/mnt/folder/below"})
        onVolume([&] {
            give(folder);
            EXPECT_FALSE(isOne()) << folder;
        });
}

TEST_F(SuperusersPlaces, HaveNoFolderAboveThemThatOthersCanChange) {
    for (const Path folder : {"/mnt", "/mnt/folder", "/mnt/folder/below"})
        for (const mode_t mode : {0775U, 0757U, 01777U})
            onVolume([&] {
                ASSERT_EQ(::chmod(folder.c_str(), mode), 0);
                EXPECT_FALSE(isOne()) << folder << " " << std::oct << mode;
            });
}

TEST_F(SuperusersPlaces, AreNotOnAVolumeOfOthersThatIsMountedAboveThem) {
    onVolume([] {
        testing::mountVolume("tmpfs", "/mnt/folder", "mode=755,uid=65534");
        std::filesystem::create_directory("/mnt/folder/below");
        EXPECT_FALSE(isOne());
    });
}

/// What a named user may do in the folder shows in the bits of its group.
TEST_F(SuperusersPlaces, AreNotInAFolderThatAListOfRightsOpensToSomebody) {
    onVolume([] {
        // Version 2; owner rwx, user 65534 rwx, group r-x, mask rwx, others r-x.
        constexpr std::array<std::uint8_t, 44> kRights{
            2, 0,    0,    0,    1,    0,    7,    0, 0xFF, 0xFF, 0xFF, 0xFF, 2,    0,    7,
            0, 0xFE, 0xFF, 0,    0,    4,    0,    5, 0,    0xFF, 0xFF, 0xFF, 0xFF, 0x10, 0,
            7, 0,    0xFF, 0xFF, 0xFF, 0xFF, 0x20, 0, 5,    0,    0xFF, 0xFF, 0xFF, 0xFF};
        ASSERT_EQ(
            ::setxattr("/mnt/folder", "system.posix_acl_access", kRights.data(), kRights.size(), 0),
            0);
        EXPECT_FALSE(isOne());
    });
}

} // namespace
} // namespace quorvane::platform::linux_
