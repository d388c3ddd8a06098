#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AppController.h"
#include "tests/support/fake_platform.h"
#include "tests/support/log_reader.h"

namespace brightkeel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace quorvane;
using quorvane::testing::FakePlatform;

class Controller : public ::testing::Test {
protected:
    Controller() : log(system) {}

    /// Puts a file there and hands it to the guarded trash action; whether it stayed.
    bool keeps(const Path& item) {
        system.disk->addFile(item);
        controller.trashFile(item);
        return system.disk->contains(item);
    }

    FakePlatform system;
    quorvane::testing::LogReader log;
    UninstallerServices services;
    AppController controller{services};
};

TEST_F(Controller, CancelTerminatesAndTouchesNothing) {
    controller.cancel();
    EXPECT_THAT(system.journal->entries(), ElementsAre("application.terminate"));
}

TEST_F(Controller, TrashesAnItem) {
    EXPECT_FALSE(keeps("/Users/anna/build/Snapshot Keeper.app"));
    EXPECT_THAT(system.journal->entries("workspace."),
                ElementsAre("workspace.recycle /Users/anna/build [Snapshot Keeper.app] -> "
                            "/Users/anna/.Trash"));
}

TEST_F(Controller, LeavesItemsDirectlyInReleaseFolders) {
    EXPECT_TRUE(keeps("/Users/anna/build/Release/Snapshot Keeper.app"));
    EXPECT_FALSE(keeps("/Users/anna/build/release/Snapshot Keeper.app"));
    EXPECT_FALSE(keeps("/Users/anna/build/Release/deeper/Snapshot Keeper.app"));
    EXPECT_FALSE(keeps("/Users/anna/build/Release"));
    EXPECT_FALSE(keeps("/Users/anna/build/MyRelease/x"));
}

TEST_F(Controller, LeavesItemsOfABuildTree) {
    EXPECT_TRUE(keeps("/Volumes/w/Structure/Applications/x"));
    EXPECT_FALSE(keeps("/Volumes/w/structure/Applications/x"));
    EXPECT_FALSE(keeps("/Volumes/w/Structure/Applications"));
}

TEST_F(Controller, LeavesWhateverBeginsLikeTheTrash) {
    EXPECT_TRUE(keeps("/Users/anna/.Trash/x"));
    EXPECT_TRUE(keeps("/Users/anna/.Trashed things/x"));
    EXPECT_FALSE(keeps("/Users/anna/.trash/x"));
}

TEST_F(Controller, LeavesWhateverIsInATrash) {
    system.workspace->trashes = {"/Users/anna/.local/share/Trash/files", "/Volumes/w/.Trash-501"};
    EXPECT_TRUE(keeps("/Users/anna/.local/share/Trash/files/x"));
    EXPECT_TRUE(keeps("/Users/anna//.local/share/Trash/files/folder/x"));
    EXPECT_TRUE(keeps("/Volumes/w/.Trash-501/files/x"));
    system.disk->addLink("/link", "/Users/anna/.local/share/Trash/files");
    EXPECT_TRUE(keeps("/link/x"));
    EXPECT_FALSE(keeps("/Users/anna/.local/share/x"));
    system.disk->addLink("/Users/anna/y", "/link/x");
    controller.trashFile("/Users/anna/y");
    EXPECT_FALSE(system.disk->contains("/Users/anna/y"));
    EXPECT_TRUE(system.disk->contains("/link/x"));
}

TEST_F(Controller, IgnoresNullAndAbsentItems) {
    controller.trashFile(std::nullopt);
    controller.trashFile("");
    controller.trashFile("/missing");
    system.disk->addLink("/dangling", "/nowhere");
    controller.trashFile("/dangling");
    EXPECT_THAT(system.journal->entries(), IsEmpty());
}

TEST_F(Controller, WaitsTenSecondsForAnItemThatARightMoves) {
    system.disk->addFile("/d/a");
    system.disk->addFile("/bin/mv");
    system.disk->failAlways("recycle", "/d/a", {13, "Permission denied"});
    controller.trashFile("/d/a");
    EXPECT_NEAR(system.application->eventsAskedFor(), 1000, 2); // slices of 0.01 s
}

TEST_F(Controller, MovesWithoutRightsWhereItMustNotUseThem) {
    system.disk->addFile("/d/a");
    system.disk->addFile("/bin/mv");
    controller.trashFile("/d/a", ShouldAuth::no);
    EXPECT_FALSE(system.disk->contains("/d/a"));
    EXPECT_TRUE(keeps("/d/Release/a"));
    system.disk->failAlways("recycle", "/d/b", {13, "Permission denied"});
    system.disk->addFile("/d/b");
    controller.trashFile("/d/b", ShouldAuth::no);
    EXPECT_TRUE(system.disk->contains("/d/b"));
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
}

} // namespace
} // namespace brightkeel
