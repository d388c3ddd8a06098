#include "platform/linux/authorization/link_free_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/platform/linux/child_process.h"

namespace quorvane::platform::linux_ {
namespace {

/// A volume whose top belongs to the superuser alone.
class LinkFreePathTest : public ::testing::Test {
protected:
    void SetUp() override { QV_NEEDS_SUPERUSER(); }

    static void onVolume(const std::function<void()>& body) {
        testing::inPrivateMounts([&] {
            testing::mountVolume("tmpfs", "/mnt", "mode=755");
            std::filesystem::create_directories("/mnt/real/folder");
            body();
        });
    }
    static void link(const Path& target, const Path& place) {
        ASSERT_EQ(::symlink(target.c_str(), place.c_str()), 0) << place;
    }
    static void give(const Path& item) {
        ASSERT_EQ(::lchown(item.c_str(), testing::kOrdinaryUser, testing::kOrdinaryUser), 0);
    }
    /// Of an item in a folder of the volume, relative to it.
    static Path onVolume(const Path& path) {
        const Path found = linkFreePath("/mnt/" + path);
        return found.starts_with("/mnt/") ? found.substr(5) : found;
    }
};

TEST_F(LinkFreePathTest, LeavesPathsWithoutLinks) {
    onVolume([] {
        EXPECT_EQ(onVolume("real/folder/item"), "real/folder/item");
        EXPECT_EQ(onVolume("real"), "real");
        EXPECT_EQ(onVolume("missing/folder/item"), "missing/folder/item");
        EXPECT_EQ(linkFreePath("/"), "/");
        EXPECT_EQ(linkFreePath("/missing"), "/missing");
    });
}

TEST_F(LinkFreePathTest, FollowsTheSuperusersLinks) {
    onVolume([] {
        link("/mnt/real", "/mnt/absolute");
        link("real", "/mnt/relative");
        link("./real//folder/.", "/mnt/untidy");
        link("../../mnt/real", "/mnt/real/up");
        link("/", "/mnt/root");
        EXPECT_EQ(onVolume("absolute/folder/item"), "real/folder/item");
        EXPECT_EQ(onVolume("relative/item"), "real/item");
        EXPECT_EQ(onVolume("untidy/item"), "real/folder/item");
        EXPECT_EQ(onVolume("real/up/up/up/item"), "real/item");
        EXPECT_EQ(onVolume("root/mnt/root/mnt/item"), "item");
        EXPECT_EQ(linkFreePath("/mnt/root/item"), "/item");
    });
}

TEST_F(LinkFreePathTest, FollowsChainsAndGivesUpOnLoops) {
    onVolume([] {
        link("real", "/mnt/0");
        for (int number = 1; number <= 60; ++number)
            link(std::to_string(number - 1), "/mnt/" + std::to_string(number));
        EXPECT_EQ(onVolume("39/item"), "real/item"); // the fortieth link, as the kernel has it
        EXPECT_NE(onVolume("40/item"), "real/item");
        link("loop", "/mnt/loop");
        link("b", "/mnt/a");
        link("a", "/mnt/b");
        link("grows/grows", "/mnt/grows");
        EXPECT_EQ(onVolume("loop/item"), "loop/item");
        EXPECT_EQ(onVolume("a/item"), "a/item");
        EXPECT_TRUE(onVolume("grows/item").starts_with("grows/grows/"));
    });
}

TEST_F(LinkFreePathTest, LeavesTheItemItself) {
    onVolume([] {
        link("real", "/mnt/item");
        EXPECT_EQ(onVolume("item"), "item");
        EXPECT_EQ(onVolume("item/"), "item");
        link("real", "/mnt/above");
        link("folder", "/mnt/real/item");
        EXPECT_EQ(onVolume("above/item"), "real/item");
    });
}

TEST_F(LinkFreePathTest, LeavesWhatLeadsUp) {
    onVolume([] {
        link("real/folder", "/mnt/link");
        EXPECT_EQ(onVolume("real/../item"), "real/../item");
        EXPECT_EQ(onVolume("link/../item"), "real/folder/../item");
        EXPECT_EQ(onVolume("../item"), "../item");
    });
}

TEST_F(LinkFreePathTest, LeavesOthersLinks) {
    onVolume([] {
        link("real", "/mnt/given");
        give("/mnt/given");
        EXPECT_EQ(onVolume("given/item"), "given/item");
    });
}

TEST_F(LinkFreePathTest, LeavesLinksWhereOthersCanMakeThem) {
    onVolume([] {
        for (const mode_t mode : {0775U, 0757U, 01777U}) {
            const Path folder = "/mnt/" + std::to_string(mode);
            std::filesystem::create_directories(folder + "/below");
            ASSERT_EQ(::chmod(folder.c_str(), mode), 0);
            link("/mnt/real", folder + "/link");
            link("/mnt/real", folder + "/below/link");
            EXPECT_EQ(linkFreePath(folder + "/link/item"), folder + "/link/item");
            // The folder between could be exchanged as a whole.
            EXPECT_EQ(linkFreePath(folder + "/below/link/item"), folder + "/below/link/item");
        }
        std::filesystem::create_directory("/mnt/given");
        link("/mnt/real", "/mnt/given/link");
        give("/mnt/given");
        EXPECT_EQ(onVolume("given/link/item"), "given/link/item");
        link("given", "/mnt/link");
        EXPECT_EQ(onVolume("link/link/item"), "given/link/item");
    });
}

TEST_F(LinkFreePathTest, StopsAtWhatIsNoFolder) {
    onVolume([] {
        link("missing/../real", "/mnt/dangling");
        EXPECT_EQ(onVolume("dangling/item"), "missing/../real/item");
        ASSERT_EQ(::mkfifo("/mnt/fifo", 0600), 0);
        link("fifo", "/mnt/to fifo");
        EXPECT_EQ(onVolume("to fifo/below/item"), "fifo/below/item");
    });
}

} // namespace
} // namespace quorvane::platform::linux_
