#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/app/uninstall_fixture.h"

namespace brightkeel {
namespace {

using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace quorvane;

constexpr int kOn = platform::CheckBox::kOn;
constexpr int kOff = platform::CheckBox::kOff;
constexpr int kMixed = platform::CheckBox::kMixed;

std::vector<std::string> golden(const std::string& name) {
    std::ifstream file(std::string(GOLDEN_FOLDER) + "/" + name + ".txt");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

class Uninstall : public testing::UninstallTest {};

TEST_F(Uninstall, WithNeitherOption) {
    EXPECT_THAT(run(kOff, kOff), ElementsAreArray(golden("neither")));
}

TEST_F(Uninstall, WithSharedApplications) {
    EXPECT_THAT(run(kOn, kOff), ElementsAreArray(golden("shared")));
}

TEST_F(Uninstall, WithPreferences) {
    EXPECT_THAT(run(kOff, kOn), ElementsAreArray(golden("config")));
}

TEST_F(Uninstall, WithBothOptions) {
    EXPECT_THAT(run(kOn, kOn), ElementsAreArray(golden("both")));
    EXPECT_TRUE(system.disk->contains(
        "/Users/anna/Library/Application Support/Quorvane/Brightkeel/.DS_Store"));
    EXPECT_TRUE(system.disk->contains("/Library/Preferences/com.quorvane.global.plist"));
    EXPECT_TRUE(system.disk->contains(
        "/Users/anna/Library/LaunchAgents/com.quorvane.ScheduledTask7.plist.bak"));
}

TEST_F(Uninstall, AMixedCheckBoxCountsAsOff) {
    EXPECT_THAT(run(kMixed, kMixed), ElementsAreArray(golden("neither")));
}

TEST_F(Uninstall, ASecondRunFindsNothingLeft) {
    run(kOn, kOn);
    const auto left = system.disk->paths();
    system.journal->clear();
    AppController second = controller;
    second.beginUninstall();
    EXPECT_THAT(system.journal->entries("workspace.recycle"), ::testing::IsEmpty());
    EXPECT_EQ(system.disk->paths(), left);
}

TEST_F(Uninstall, GoesOnWhenItemsCannotBeMoved) {
    system.disk->failAlways("recycle", quorvane::testing::FakeDisk::kAnyPath,
                            {13, "Permission denied"});
    system.authorization->createStatus = platform::kAuthorizationDenied;
    for (const Path tool : {"/bin/mv", "/bin/rm"}) system.disk->addFile(tool);
    const auto before = system.disk->paths();
    const auto done = run(kOn, kOn);
    EXPECT_THAT(done, Contains("application.alert Uninstall complete | Items have been placed in "
                               "your Trash."));
    EXPECT_EQ(system.disk->paths(), before);
    const auto tried = system.journal->entries("workspace.recycle");
    EXPECT_EQ(tried.size(), 119U); // every item of the catalogue and of the scans
}

TEST_F(Uninstall, GoesOnWithoutTheQuitTool) {
    system.disk->erase("/usr/bin/killall");
    run(kOff, kOff);
    EXPECT_FALSE(system.disk->contains("/Applications/Brightkeel Hub.app"));
    EXPECT_THAT(log.messages(), Contains("Error: /usr/bin/killall is not executable"));
}

TEST_F(Uninstall, FoldersThatCannotBeListedHaveNoItems) {
    for (const Path folder :
         {"/Library/Receipts", "/Library/LaunchDaemons", "/Users/anna/Library/LaunchAgents"})
        system.disk->failAlways("contentsOfDirectory", folder, {13, "Permission denied"});
    run(kOn, kOn);
    EXPECT_TRUE(system.disk->contains("/Library/Receipts/Brightkeel 4.pkg"));
    EXPECT_TRUE(
        system.disk->contains("/Library/LaunchDaemons/com.quorvane.RootScheduledTask1.plist"));
}

TEST_F(Uninstall, WorksForNobodyWhenNobodyIsAtTheSuperusersConsole) {
    system.identity->becomeSuperuser();
    system.identity->console = std::nullopt;
    const auto done = run(kOn, kOn);
    EXPECT_THAT(done, Not(Contains(HasSubstr("/Users/anna/Library"))));
    EXPECT_TRUE(system.application->terminated());
}

TEST_F(Uninstall, ABundleRegisteredInAReleaseFolderStays) {
    const Path bundle = "/Users/anna/build/Release/Quorvane Switchboard.app";
    system.disk->addFile(bundle + "/Contents/Info.plist");
    system.workspace->addBundle("com.quorvane.switchboard", bundle);
    run(kOn, kOff);
    EXPECT_TRUE(system.disk->contains(bundle));
}

/// A machine where administrator rights are granted, and one registered application that nobody can
/// move without them.
class FoundApplication : public Uninstall {
protected:
    FoundApplication() {
        for (const Path tool : {"/bin/mv", "/bin/rm"}) system.disk->addFile(tool);
        system.authorization->effect = [this](const Path& tool, const Arguments& arguments) {
            if (tool == "/bin/mv") (void)system.disk->moveItem(arguments[1], arguments[2]);
        };
    }

    /// Uninstalls with the shared applications, one of which is registered there.
    void uninstall(const Path& bundle) {
        system.disk->addFile(bundle + "/Contents/Info.plist");
        system.workspace->addBundle("com.quorvane.Refresher", bundle);
        system.disk->failAlways("recycle", bundle, {13, "Permission denied"});
        run(kOn, kOff);
    }
    auto rightsUsed() { return system.journal->entries("authorization."); }
};

TEST_F(FoundApplication, GoesWithRightsOutOfTheSuperusersApplicationsFolder) {
    uninstall("/Applications/Media Tools/Refresher.app");
    EXPECT_THAT(rightsUsed(), Contains(HasSubstr("/Applications/Media Tools/Refresher.app")));
    EXPECT_FALSE(system.disk->contains("/Applications/Media Tools/Refresher.app"));
}

TEST_F(FoundApplication, IsNeverMovedWithRightsFromElsewhere) {
    for (const Path bundle :
         {"/Users/carl/Applications/Refresher.app", "/media/stick/Refresher.app",
          "/Library/Application Support/Refresher.app", "/Applications Old/Refresher.app",
          "/Users/carl/Applications.app"}) {
        uninstall(bundle);
        EXPECT_THAT(rightsUsed(), ::testing::IsEmpty()) << bundle;
        EXPECT_TRUE(system.disk->contains(bundle)) << bundle;
    }
}

TEST_F(FoundApplication, IsNotMovedWithRightsByAPathThatLeadsElsewhere) {
    system.disk->addFile("/Users/carl/Refresher.app/Contents/Info.plist");
    system.disk->addLink("/Applications/link", "/Users/carl");
    for (const Path bundle :
         {"/Applications/../Users/carl/Refresher.app", "/Applications/link/Refresher.app",
          "/Applications//../Users/carl/Refresher.app"}) {
        uninstall(bundle);
        EXPECT_THAT(rightsUsed(), ::testing::IsEmpty()) << bundle;
        EXPECT_TRUE(system.disk->contains("/Users/carl/Refresher.app")) << bundle;
    }
}

TEST_F(FoundApplication, IsNotMovedWithRightsOutOfAFolderThatOthersCanChange) {
    system.workspace->superusersFolders = {"/Library"};
    uninstall("/Applications/Media Tools/Refresher.app");
    EXPECT_THAT(rightsUsed(), ::testing::IsEmpty());
    EXPECT_TRUE(system.disk->contains("/Applications/Media Tools/Refresher.app"));
}

TEST_F(FoundApplication, StaysWhereTheSuperuserCannotDoWithoutRights) {
    system.identity->becomeSuperuser();
    run(kOn, kOff);
    EXPECT_TRUE(system.disk->contains("/Registered/com.quorvane.Refresher.app"));
    EXPECT_FALSE(system.disk->contains("/Applications/Quorvane/Quorvane Refresher.app"));
    EXPECT_THAT(system.consoleLog->messages(),
                ::testing::Contains("Unable to move /Registered/com.quorvane.Refresher.app to the "
                                    "Trash: others than the superuser decide what is there"));
}

TEST_F(FoundApplication, IsTakenByTheSuperuserOutOfTheSuperusersApplicationsFolder) {
    const Path bundle = "/Applications/Media Tools/Refresher.app";
    system.identity->becomeSuperuser();
    system.disk->addFile(bundle + "/Contents/Info.plist");
    system.workspace->addBundle("com.quorvane.Refresher", bundle);
    run(kOn, kOff);
    EXPECT_FALSE(system.disk->contains(bundle));
}

} // namespace
} // namespace brightkeel
