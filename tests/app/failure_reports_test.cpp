// What should have gone and stays is told, with the reason.
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/app/uninstall_fixture.h"

namespace brightkeel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace quorvane;

constexpr int kOff = platform::CheckBox::kOff;
const Path kItem = "/Applications/Brightkeel Hub.app";
const std::string kStays = "Unable to move /Applications/Brightkeel Hub.app to the Trash: ";

class FailureReports : public testing::UninstallTest {
protected:
    FailureReports() {
        for (const Path tool : {"/bin/mv", "/bin/rm"}) system.disk->addFile(tool, "#!");
    }

    void keepItem() { system.disk->failAlways("recycle", kItem, {EACCES, "Permission denied"}); }

    std::vector<std::string> reports() {
        run(kOff, kOff);
        return system.consoleLog->messages();
    }
};

TEST_F(FailureReports, OfAnUninstallThatSucceedsThereAreNone) { EXPECT_THAT(reports(), IsEmpty()); }

TEST_F(FailureReports, NameTheItemAndWhatBecameOfTheQuestionForRights) {
    keepItem();
    system.authorization->copyRightsStatus = platform::kAuthorizationCanceled;
    EXPECT_THAT(reports(),
                ElementsAre(kStays + "Permission denied; the question for administrator rights "
                                     "was cancelled"));
}

TEST_F(FailureReports, TellDeniedRightsFromNobodyWhoCouldBeAsked) {
    keepItem();
    const Path second = "/Applications/Stage Purger.app";
    system.disk->failAlways("recycle", second, {EROFS, "Read-only file system"});
    system.authorization->copyRightsStatus = platform::kAuthorizationDenied;
    EXPECT_THAT(reports(),
                ElementsAre(kStays + "Permission denied; administrator rights were not granted",
                            "Unable to move " + second +
                                " to the Trash: Read-only file system; administrator rights were "
                                "not granted"));
}

TEST_F(FailureReports, TellOfNobodyWhoCouldBeAsked) {
    keepItem();
    system.authorization->copyRightsStatus = platform::kAuthorizationInternal;
    EXPECT_THAT(reports(),
                ElementsAre(kStays + "Permission denied; nobody could be asked for administrator "
                                     "rights"));
}

TEST_F(FailureReports, TellWhyTheHelperRefused) {
    keepItem();
    system.authorization->executeStatus = platform::kAuthorizationToolExecuteFailure;
    system.authorization->executeReason = {EISDIR, "Is a directory"};
    EXPECT_THAT(reports(),
                ElementsAre(kStays + "Permission denied; with administrator rights: Is a "
                                     "directory"));
}

TEST_F(FailureReports, TellOfAMoveThatDidNotHappenInTime) {
    keepItem();
    EXPECT_THAT(reports(),
                ElementsAre(kStays + "Permission denied; with administrator rights: not carried "
                                     "out"));
}

TEST_F(FailureReports, TellOfFoldersThatCouldNotBeLookedThrough) {
    const Path folder = "/Library/Application Support/Quorvane/Brightkeel";
    system.disk->addFile(folder + "/.closed/file");
    system.disk->failAlways("contentsOfDirectory", folder + "/.closed",
                            {EACCES, "Permission denied"});
    system.disk->failAlways("contentsOfDirectory", "/Library/Receipts",
                            {EIO, "Input/output error"});
    EXPECT_THAT(
        reports(),
        ElementsAre("Unable to tell whether the folder " + folder + " is empty: Permission denied",
                    "Unable to list the folder /Library/Receipts: Input/output error"));
}

TEST_F(FailureReports, TellOfEmptyFoldersThatCouldNotBeRemoved) {
    const Path folder = "/Library/Application Support/Quorvane/Brightkeel";
    system.disk->addFolder(folder + "/.empty");
    system.disk->failAlways("removeEmptyFolders", folder, {EACCES, "Permission denied"});
    system.authorization->copyRightsStatus = platform::kAuthorizationDenied;
    EXPECT_THAT(reports(), ElementsAre("Unable to remove the empty folder " + folder +
                                       ": Permission denied; administrator rights were not "
                                       "granted"));
}

} // namespace
} // namespace brightkeel
