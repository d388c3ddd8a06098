// Folders that are left empty go, and nothing else ever does, whatever rights there are.
#include <gmock/gmock.h>

#include "kit/log/QVLog.h"
#include "tests/app/uninstall_fixture.h"

namespace brightkeel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace quorvane;

constexpr int kOff = platform::CheckBox::kOff;

const platform::Error kNotPermitted{13, "Permission denied"};
const Path kSupport = "/Library/Application Support/Quorvane/Brightkeel";
const Path kSuite = "/Applications/Quorvane/Brightkeel";
const Path kMaker = "/Applications/Quorvane";

/// With an administrator's rights that do to the disk whatever they are asked to.
class FoldersLeftEmpty : public testing::UninstallTest {
protected:
    FoldersLeftEmpty() {
        for (const Path tool : {"/bin/mv", "/bin/rm"}) system.disk->addFile(tool, "#!");
        system.authorization->effect = [this](const Path& tool, const Arguments& arguments) {
            const Path& item = tool == "/bin/rm" ? arguments.back() : arguments.front();
            if (tool == "/bin/rm" && system.disk->contains(item)) system.disk->erase(item);
            if (tool == "/bin/rmdir") (void)system.disk->removeEmptyFolders(item);
        };
    }

    /// Nobody but the superuser may look into the folder or change anything in it.
    void close(const Path& folder) {
        system.disk->failAlways("contentsOfDirectory", folder, kNotPermitted);
        system.disk->failAlways("removeItem", folder, kNotPermitted);
    }

    /// Uninstalls, and answers whether all that the folder held before is there still.
    bool keeps(const Path& folder) {
        const auto before = below(folder);
        run(kOff, kOff);
        return !before.empty() && below(folder) == before;
    }

    std::vector<Path> below(const Path& folder) {
        std::vector<Path> found;
        for (const Path& path : system.disk->paths())
            if (path == folder || path.starts_with(folder + "/")) found.push_back(path);
        return found;
    }
};

TEST_F(FoldersLeftEmpty, ASupportFolderThatCannotBeListedStaysWhole) {
    system.disk->addFile(kSupport + "/Old (Disabled)", "kept");
    system.disk->addFile(kSupport + "/.settings", "kept");
    close(kSupport);
    EXPECT_TRUE(keeps(kSupport));
}

TEST_F(FoldersLeftEmpty, AFolderDeepInsideThatCannotBeListedStaysWhole) {
    system.disk->erase(kMaker);
    system.disk->addFile(kMaker + "/Other Suite/deep/down/film.mov", "kept");
    close(kMaker + "/Other Suite/deep/down");
    system.disk->failAlways("removeItem", kMaker, kNotPermitted);
    EXPECT_TRUE(keeps(kMaker));
}

TEST_F(FoldersLeftEmpty, AnApplicationsFolderThatCannotBeListedStaysWhole) {
    system.disk->addFile(kSuite + "/Somebody Else's.app/Contents/Info.plist", "kept");
    for (const Path& folder : {kSuite, kMaker}) close(folder);
    run(kOff, kOff);
    EXPECT_TRUE(system.disk->contains(kSuite + "/Somebody Else's.app/Contents/Info.plist"));
}

TEST_F(FoldersLeftEmpty, AFileInTheFoldersPlaceStays) {
    system.disk->erase(kSupport);
    system.disk->addFile(kSupport, "a file");
    EXPECT_TRUE(keeps(kSupport));
}

TEST_F(FoldersLeftEmpty, ALinkInTheFoldersPlaceStaysWithWhatItLeadsTo) {
    system.disk->erase(kSupport);
    system.disk->addFolder("/elsewhere/.empty");
    system.disk->addLink(kSupport, "/elsewhere");
    EXPECT_TRUE(keeps(kSupport));
    EXPECT_TRUE(system.disk->contains("/elsewhere/.empty"));
}

TEST_F(FoldersLeftEmpty, ALinkToAnEmptyFolderKeepsItsFolder) {
    system.disk->addFolder("/elsewhere");
    system.disk->addLink(kSupport + "/.link", "/elsewhere");
    run(kOff, kOff);
    EXPECT_TRUE(system.disk->isLink(kSupport + "/.link"));
}

TEST_F(FoldersLeftEmpty, WhatOnlyBearsTheNameOfADesktopsFileKeepsItsFolder) {
    system.disk->addFile(kSupport + "/.DS_Store/film.mov", "kept");
    system.disk->addLink(kMaker + "/.DS_Store", "/nowhere");
    run(kOff, kOff);
    EXPECT_EQ(system.disk->content(kSupport + "/.DS_Store/film.mov"), "kept");
    EXPECT_TRUE(system.disk->isLink(kMaker + "/.DS_Store"));
}

TEST_F(FoldersLeftEmpty, WhatAppearsAfterTheLookStays) {
    system.disk->addFile(kSupport + "/.DS_Store");
    for (const char* operation : {"removeItem", "removeEmptyFolders"})
        system.disk->failNext(operation, kSupport, kNotPermitted);
    system.authorization->effect =
        [this, act = system.authorization->effect](const Path& tool, const Arguments& arguments) {
            if (arguments.back() == kSupport) system.disk->addFile(kSupport + "/new", "kept");
            act(tool, arguments);
        };
    run(kOff, kOff);
    EXPECT_EQ(system.disk->content(kSupport + "/new"), "kept");
}

TEST_F(FoldersLeftEmpty, GoWithTheDesktopsFilesInThem) {
    system.disk->addFile(kSupport + "/.DS_Store");
    system.disk->addFile(kSupport + "/.old/Icon\r");
    run(kOff, kOff);
    EXPECT_FALSE(system.disk->contains(kSupport));
}

TEST_F(FoldersLeftEmpty, GoWithAdministratorRightsWhereTheUserMayNotRemoveThem) {
    system.disk->addFile(kSupport + "/.DS_Store");
    system.disk->failAlways("removeEmptyFolders", kSupport, kNotPermitted);
    system.authorization->effect = [this](const Path& tool, const Arguments& arguments) {
        EXPECT_EQ(tool, "/bin/rmdir");
        EXPECT_EQ(arguments, Arguments{kSupport});
        system.disk->erase(kSupport);
    };
    run(kOff, kOff);
    EXPECT_FALSE(system.disk->contains(kSupport));
}

TEST_F(FoldersLeftEmpty, NothingIsEverRemovedByATool) {
    system.disk->addFile(kSupport + "/.DS_Store");
    for (const char* operation : {"removeItem", "removeEmptyFolders"})
        system.disk->failAlways(operation, kSupport, kNotPermitted);
    run(kOff, kOff);
    EXPECT_THAT(system.journal->entries("authorization.execute"),
                ElementsAre("authorization.execute #1 /bin/rmdir [" + kSupport + "] options=0"));
}

TEST_F(FoldersLeftEmpty, NotEvenForTheSuperuser) {
    system.identity->becomeSuperuser();
    system.disk->setPermissions("/bin/rm", 0755);
    system.processes->script("/bin/rm", {.effect = [this](const auto& launch) {
                                 system.disk->erase(launch.arguments.back());
                             }});
    system.disk->addFile(kSupport + "/.DS_Store");
    for (const char* operation : {"removeItem", "removeEmptyFolders"})
        system.disk->failAlways(operation, kSupport, {16, "Device or resource busy"});
    run(kOff, kOff);
    EXPECT_TRUE(system.disk->contains(kSupport + "/.DS_Store"));
    EXPECT_THAT(system.journal->entries("process.launch /bin/rm"), IsEmpty());
}

TEST_F(FoldersLeftEmpty, TheLogStillDropsItsOldestFile) {
    const Path oldest = "/Users/anna/Library/Logs/Quorvane/Uninstaller.5.log";
    QVLog::sharedController().setAppName("Uninstaller");
    for (int number = 1; number <= 5; ++number)
        system.disk->addFile("/Users/anna/Library/Logs/Quorvane/Uninstaller." +
                                 std::to_string(number) + ".log",
                             std::to_string(number));
    QVLog::createNewLog();
    EXPECT_EQ(system.disk->content(oldest), "4");
}

} // namespace
} // namespace brightkeel
