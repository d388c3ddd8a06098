// What a hostile volume, or the owner of a folder, might gain by having the superuser move and copy
// programs with rights of their own, and devices.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>

#include "tests/platform/linux/access_lists.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/privileged_helper/helper_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

class HandOver : public ::testing::Test {
protected:
    void SetUp() override {
        QV_NEEDS_SUPERUSER();
        ASSERT_EQ(chmod(scratch_.path().c_str(), 0755), 0);
        users_ = scratch_.addFolder("users");
        ASSERT_EQ(chown(users_.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
        // Only the superuser can look into this one.
        ASSERT_EQ(chmod(scratch_.addFolder("closed").c_str(), 0700), 0);
        scratch_.addFolder("open");
    }
    Path addSetId(std::string_view name) const {
        Path file = scratch_.addFile(name, "program");
        EXPECT_EQ(chmod(file.c_str(), 04755), 0);
        return file;
    }
    Path addCapable(std::string_view name) const {
        Path file = scratch_.addFile(name, "program");
        giveCapability(file);
        return file;
    }
    Path addDevice(std::string_view name) const {
        Path device = scratch_ / name;
        EXPECT_EQ(mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
        return device;
    }
    static mode_t modeOf(const Path& item) {
        struct stat status {};
        EXPECT_EQ(lstat(item.c_str(), &status), 0) << item;
        return status.st_mode & 07777U;
    }
    static int move(HelperProcess& helper, const Path& item, const Path& destination) {
        return helper.run({"/bin/mv", "-f", item, destination});
    }
    static int copy(HelperProcess& helper, const Path& item, const Path& destination) {
        return helper.run({"/bin/cp", "-f", "-p", "-R", item, destination});
    }

    ScratchFolder scratch_;
    Path users_;
};

TEST_F(HandOver, AHostileVolumeGainsNothing) {
    inPrivateMounts([&] {
        mountUntrustedVolume(scratch_.addFolder("volume"));
        const Path tree = scratch_.addFolder("volume/tree");
        addSetId("volume/tree/tool");
        addCapable("volume/tree/capable");
        HelperProcess helper;
        const Path copied = scratch_ / "open/copied";
        const Path moved = scratch_ / "open/moved";
        EXPECT_EQ(copy(helper, tree, copied), 0);
        EXPECT_EQ(move(helper, tree, moved), 0);
        for (const Path& place : {copied, moved}) {
            EXPECT_EQ(contentOf(place + "/tool"), "program");
            EXPECT_EQ(modeOf(place + "/tool"), 0755U);
            EXPECT_FALSE(hasAttribute(place + "/capable", kCapability));
        }
        EXPECT_FALSE(fs::exists(tree));
    });
}

TEST_F(HandOver, AHostileVolumesDevicesStayThere) {
    inPrivateMounts([&] {
        mountUntrustedVolume(scratch_.addFolder("volume"));
        scratch_.addFile("volume/tree/file");
        addDevice("volume/tree/null");
        HelperProcess helper;
        for (const char* item : {"volume/tree", "volume/tree/null"}) {
            copy(helper, scratch_ / item, scratch_ / "open/item");
            move(helper, scratch_ / item, scratch_ / "open/item");
            EXPECT_TRUE(fs::exists(scratch_ / item));
        }
        EXPECT_TRUE(fs::is_empty(scratch_ / "open"));
        EXPECT_TRUE(fs::exists(scratch_ / "volume/tree/file"));
    });
}

TEST_F(HandOver, CopiesInAUsersFolderHaveNoRightsOfTheirOwn) {
    addSetId("open/tree/tool");
    addCapable("open/tree/capable");
    HelperProcess helper;
    EXPECT_EQ(copy(helper, scratch_ / "open/tree", users_ + "/tree"), 0);
    EXPECT_EQ(modeOf(users_ + "/tree/tool"), 0755U);
    EXPECT_FALSE(hasAttribute(users_ + "/tree/capable", kCapability));
    // A folder of the superuser's below it is in the user's hands as well.
    fs::create_directory(users_ + "/roots");
    EXPECT_EQ(copy(helper, scratch_ / "open/tree/tool", users_ + "/roots/tool"), 0);
    EXPECT_EQ(modeOf(users_ + "/roots/tool"), 0755U);
    addDevice("open/tree/null");
    copy(helper, scratch_ / "open/tree", users_ + "/again");
    EXPECT_FALSE(fs::exists(users_ + "/again"));
    EXPECT_EQ(std::distance(fs::directory_iterator(users_), {}), 2);
}

TEST_F(HandOver, CopiesInTheSuperusersFoldersKeepTheirs) {
    const Path tool = addSetId("closed/tool");
    if (!honoursSetIds(tool)) GTEST_SKIP() << "the temporary folder's volume gives them no effect";
    HelperProcess helper;
    EXPECT_EQ(copy(helper, tool, scratch_ / "open/tool"), 0);
    EXPECT_EQ(modeOf(scratch_ / "open/tool"), 04755U);
}

TEST_F(HandOver, WhatOnlyTheSuperuserCouldReachIsNotMovedToAUser) {
    addSetId("closed/program/deep/tool");
    addCapable("closed/capable");
    addDevice("closed/null");
    HelperProcess helper;
    for (const mode_t mode : {0700U, 0705U, 0750U}) { // the user may be one of the group
        ASSERT_EQ(chmod((scratch_ / "closed").c_str(), mode), 0);
        for (const std::string item : {"program", "capable", "null"}) {
            const Path closed = scratch_ / ("closed/" + item);
            EXPECT_EQ(helper.refusal({"/bin/mv", "-f", closed, users_ + "/" + item}), EPERM);
            EXPECT_TRUE(fs::exists(closed)) << item;
        }
    }
    EXPECT_TRUE(fs::is_empty(users_));
    // Anything else may go, and these may go where the user gains nothing.
    scratch_.addFile("closed/plain/file");
    EXPECT_EQ(move(helper, scratch_ / "closed/plain", users_ + "/plain"), 0);
    EXPECT_EQ(move(helper, scratch_ / "closed/program", scratch_ / "open/program"), 0);
    EXPECT_EQ(modeOf(scratch_ / "open/program/deep/tool"), 04755U);
}

TEST_F(HandOver, WhatOnlyTheSuperuserCouldReachIsNotMovedToAUserOnAnotherVolumeEither) {
    addSetId("closed/program/tool");
    inPrivateMounts([&] {
        const Path volume = scratch_.addFolder("volume");
        mountVolume("tmpfs", volume, "uid=65534,mode=755");
        HelperProcess helper;
        EXPECT_EQ(helper.refusal({"/bin/mv", "-f", scratch_ / "closed/program", volume + "/p"}),
                  EPERM);
        EXPECT_TRUE(fs::is_empty(volume));
    });
    EXPECT_TRUE(fs::exists(scratch_ / "closed/program/tool"));
}

TEST_F(HandOver, WhatEverybodyCouldReachIsMovedAsItIs) {
    addSetId("open/program/tool");
    HelperProcess helper;
    EXPECT_EQ(move(helper, scratch_ / "open/program", users_ + "/program"), 0);
    EXPECT_EQ(modeOf(users_ + "/program/tool"), 04755U);
}

TEST_F(HandOver, WhatTheUserThemselvesCouldReachIsMovedAsItIs) {
    ASSERT_EQ(chmod(users_.c_str(), 0700), 0);
    addSetId("users/from/tool");
    fs::create_directory(users_ + "/to");
    HelperProcess helper;
    EXPECT_EQ(move(helper, users_ + "/from/tool", users_ + "/to/tool"), 0);
    EXPECT_EQ(modeOf(users_ + "/to/tool"), 04755U);
}

/// The way up from a folder does not end where one is bound below itself.
TEST_F(HandOver, AUsersFolderAboveABoundOneIsSeen) {
    const Path tool = addSetId("open/tool");
    fs::create_directory(users_ + "/roots");
    inPrivateMounts([&] {
        bindFolder(users_ + "/roots", scratch_.addFolder("users/roots/below"));
        HelperProcess helper;
        EXPECT_EQ(copy(helper, tool, users_ + "/roots/below/tool"), 0);
        EXPECT_EQ(modeOf(users_ + "/roots/tool"), 0755U);
    });
}

} // namespace
} // namespace quorvane::testing
