#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/auth/QVAuthorization.h"
#include "tests/support/fake_platform.h"
#include "tests/support/log_reader.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using testing::FakePlatform;
using ::testing::IsEmpty;

class PrivilegedOperation : public ::testing::Test {
protected:
    PrivilegedOperation() : log(system) {
        for (const Path tool : {"/bin/rm", "/bin/mv", "/bin/cp", "/bin/mkdir"}) {
            system.disk->addFile(tool, "#!");
            system.disk->setPermissions(tool, 0755);
            system.processes->script(tool, {});
        }
        system.disk->addFile("/x/a.txt", "a");
    }

    QVAuthorization& session() { return QVAuthorization::sharedController(); }

    /// The tools run with administrator rights, as "TOOL [ARGUMENTS]".
    std::vector<std::string> tools() {
        std::vector<std::string> found;
        for (const std::string& entry : system.journal->entries("authorization.execute #1 "))
            found.push_back(entry.substr(25, entry.find(" options=") - 25));
        return found;
    }

    std::vector<std::string> launches() { return system.journal->entries("process.launch"); }
    std::vector<std::string> console() { return system.consoleLog->messages(); }

    FakePlatform system;
    testing::LogReader log;
};

TEST_F(PrivilegedOperation, Removes) {
    EXPECT_TRUE(session().authRemoveFile("/x/a.txt"));
    EXPECT_TRUE(session().authRemoveFile("/x/missing"));
    EXPECT_THAT(tools(), ElementsAre("/bin/rm [-Rdf, /x/a.txt]", "/bin/rm [-Rdf, /x/missing]"));
}

TEST_F(PrivilegedOperation, RefusesSystemFolders) {
    EXPECT_FALSE(session().authRemoveFile("/Library"));
    EXPECT_FALSE(session().authTrashFile("/Users/anna/Desktop"));
    EXPECT_FALSE(session().authTrashFolderContents("/usr"));
    EXPECT_FALSE(session().authMoveFolderContents("/Applications", "/x"));
    EXPECT_FALSE(session().authMoveFile("/System", "/x"));
    EXPECT_THAT(
        console(),
        ElementsAre(
            "Unable to delete path /Library because it is a system directory.",
            "Unable to trash path /Users/anna/Desktop because it is a system directory.",
            "Unable to trash folder contents of path /usr because it is a system directory.",
            "Unable to move contents of path /Applications because it is a system "
            "directory.",
            "Unable to move path /System because it is a system directory."));
    EXPECT_THAT(tools(), IsEmpty());
}

TEST_F(PrivilegedOperation, ReachesWhatLiesInSystemFolders) {
    system.disk->addFile("/private/var/db/receipts/x.bom");
    EXPECT_TRUE(session().authTrashFile("/private/var/db/receipts/x.bom"));
    EXPECT_THAT(tools(), ElementsAre("/bin/mv [-f, /private/var/db/receipts/x.bom, "
                                     "/Users/anna/.Trash/x.bom]"));
}

TEST_F(PrivilegedOperation, MovesIntoTheTrash) {
    EXPECT_TRUE(session().authTrashFile("/x/a.txt"));
    EXPECT_THAT(tools(), ElementsAre("/bin/mv [-f, /x/a.txt, /Users/anna/.Trash/a.txt]"));
}

TEST_F(PrivilegedOperation, StampsATakenNameInTheTrash) {
    system.disk->addFile("/Users/anna/.Trash/a.txt");
    EXPECT_TRUE(session().authTrashFile("/x/a.txt"));
    ASSERT_EQ(tools().size(), 1U);
    EXPECT_TRUE(std::regex_match(
        tools()[0], std::regex(R"(/bin/mv \[-f, /x/a\.txt, /Users/anna/\.Trash/a_\d{14}\.txt\])")))
        << tools()[0];
}

TEST_F(PrivilegedOperation, StampsANameWithoutExtensionWithABareDot) {
    system.disk->addFile("/x/Notes");
    system.disk->addFile("/Users/anna/.Trash/Notes");
    EXPECT_TRUE(session().authTrashFile("/x/Notes"));
    EXPECT_TRUE(std::regex_match(
        tools()[0], std::regex(R"(/bin/mv \[-f, /x/Notes, /Users/anna/\.Trash/Notes_\d{14}\.\])")))
        << tools()[0];
}

TEST_F(PrivilegedOperation, TrashingOnTheSuperusersAccountDeletesTheDestination) {
    system.identity->becomeSuperuser();
    EXPECT_TRUE(session().authTrashFile("/x/a.txt", DeleteOnRootAccount::yes));
    EXPECT_THAT(launches(), ElementsAre("process.launch /bin/rm [-Rdf, /Users/anna/.Trash/a.txt] "
                                        "out=null err=null in=inherited"));
}

TEST_F(PrivilegedOperation, TrashingByTheSuperuserMovesIntoTheConsoleUsersTrash) {
    system.identity->becomeSuperuser();
    EXPECT_TRUE(session().authTrashFile("/x/a.txt"));
    EXPECT_THAT(launches(), ElementsAre("process.launch /bin/mv [-f, /x/a.txt, "
                                        "/Users/anna/.Trash/a.txt] out=null err=null "
                                        "in=inherited"));
}

TEST_F(PrivilegedOperation, TrashingWithNobodyAtTheConsoleFails) {
    system.identity->becomeSuperuser();
    system.identity->console = std::nullopt;
    EXPECT_FALSE(session().authTrashFile("/x/a.txt"));
    EXPECT_THAT(console(), ElementsAre("Error in authMoveFile: new path is null"));
    EXPECT_FALSE(session().authTrashFile("/x/a.txt", DeleteOnRootAccount::yes));
    EXPECT_THAT(launches(), IsEmpty());
}

TEST_F(PrivilegedOperation, TrashesFolderContentsAndGoesOnAfterAFailure) {
    system.disk->addFile("/f/.hidden");
    system.disk->addLink("/f/dangling", "/nowhere");
    system.disk->addFile("/f/b");
    EXPECT_FALSE(session().authTrashFolderContents("/f"));
    EXPECT_THAT(tools(), ElementsAre("/bin/mv [-f, /f/.hidden, /Users/anna/.Trash/.hidden]",
                                     "/bin/mv [-f, /f/b, /Users/anna/.Trash/b]"));
}

TEST_F(PrivilegedOperation, TrashingTheContentsOfNothingIsSuccess) {
    system.disk->addFolder("/empty");
    EXPECT_TRUE(session().authTrashFolderContents("/empty"));
    EXPECT_TRUE(session().authTrashFolderContents("/missing"));
    EXPECT_TRUE(session().authMoveFolderContents("/empty", "/x"));
    EXPECT_TRUE(session().authMoveFolderContents("/missing", "/x"));
    EXPECT_THAT(tools(), IsEmpty());
}

TEST_F(PrivilegedOperation, FolderContentsOnTheSuperusersAccountAreDeleted) {
    system.identity->becomeSuperuser();
    system.disk->addFile("/f/a");
    EXPECT_TRUE(session().authTrashFolderContents("/f", DeleteOnRootAccount::yes));
    EXPECT_TRUE(session().authTrashFolderContents("/f"));
    EXPECT_THAT(launches(),
                ElementsAre("process.launch /bin/rm [-R, -f, /f/a] out=null err=null in=inherited",
                            "process.launch /bin/mv [-f, /f/a, /Users/anna/.Trash/a] out=null "
                            "err=null in=inherited"));
}

TEST_F(PrivilegedOperation, DeleteOnRootAccountMeansNothingToOrdinaryUsers) {
    system.disk->addFile("/f/a");
    EXPECT_TRUE(session().authTrashFolderContents("/f", DeleteOnRootAccount::yes));
    EXPECT_TRUE(session().authTrashFile("/f/a", DeleteOnRootAccount::yes));
    EXPECT_THAT(tools(), ElementsAre("/bin/mv [-f, /f/a, /Users/anna/.Trash/a]",
                                     "/bin/mv [-f, /f/a, /Users/anna/.Trash/a]"));
}

TEST_F(PrivilegedOperation, MovesFolderContents) {
    system.disk->addFile("/f/a");
    system.disk->addFile("/f/b");
    EXPECT_TRUE(session().authMoveFolderContents("/f", "/g"));
    EXPECT_THAT(tools(), ElementsAre("/bin/mv [-f, /f/a, /g/a]", "/bin/mv [-f, /f/b, /g/b]"));
}

TEST_F(PrivilegedOperation, Moves) {
    EXPECT_TRUE(session().authMoveFile("/x/a.txt", "/y/b.txt"));
    EXPECT_FALSE(session().authMoveFile("/x/missing", "/y/b.txt"));
    EXPECT_THAT(tools(), ElementsAre("/bin/mv [-f, /x/a.txt, /y/b.txt]"));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(PrivilegedOperation, SaysWhichPathIsNull) {
    EXPECT_FALSE(session().authMoveFile(std::nullopt, "/y"));
    EXPECT_FALSE(session().authMoveFile("/x/a.txt", std::nullopt));
    EXPECT_FALSE(session().authMoveFile("/Library", std::nullopt));
    EXPECT_FALSE(session().authCopyFile(std::nullopt, "/y"));
    EXPECT_FALSE(session().authCopyFile("/x/a.txt", std::nullopt));
    EXPECT_THAT(console(), ElementsAre("Error in authMoveFile: old path is null",
                                       "Error in authMoveFile: new path is null",
                                       "Error in authMoveFile: new path is null",
                                       "Error in authCopyFile: old path is null",
                                       "Error in authCopyFile: new path is null"));
    EXPECT_THAT(tools(), IsEmpty());
}

TEST_F(PrivilegedOperation, NullItemsAreNoItems) {
    EXPECT_FALSE(session().authRemoveFile(std::nullopt));
    EXPECT_FALSE(session().authTrashFile(std::nullopt));
    EXPECT_FALSE(session().authTrashFolderContents(std::nullopt));
    EXPECT_FALSE(session().authMoveFolderContents(std::nullopt, "/y"));
    EXPECT_FALSE(session().authCreateDir(std::nullopt));
    EXPECT_THAT(tools(), IsEmpty());
}

TEST_F(PrivilegedOperation, CopiesSystemFoldersToo) {
    system.disk->addFile("/Library/x");
    EXPECT_TRUE(session().authCopyFile("/Library", "/y"));
    EXPECT_FALSE(session().authCopyFile("/missing", "/y"));
    EXPECT_THAT(tools(), ElementsAre("/bin/cp [-f, -p, -R, /Library, /y]"));
}

TEST_F(PrivilegedOperation, CreatesFolders) {
    EXPECT_TRUE(session().authCreateDir("/y/z"));
    EXPECT_THAT(tools(), ElementsAre("/bin/mkdir [-p, /y/z]"));
    system.authorization->executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_FALSE(session().authCreateDir("/y/z"));
}

TEST_F(PrivilegedOperation, FailWithoutTheRight) {
    system.authorization->copyRightsStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(session().authRemoveFile("/x/a.txt"));
    EXPECT_FALSE(session().authTrashFile("/x/a.txt"));
    EXPECT_FALSE(session().authMoveFile("/x/a.txt", "/y"));
    EXPECT_FALSE(session().authCopyFile("/x/a.txt", "/y"));
    EXPECT_FALSE(session().authCreateDir("/y"));
}

TEST_F(PrivilegedOperation, TheSuperuserStartsToolsWithoutWaiting) {
    system.identity->becomeSuperuser();
    EXPECT_TRUE(session().authRemoveFile("/x/a.txt"));
    EXPECT_TRUE(session().authMoveFile("/x/a.txt", "/y"));
    EXPECT_TRUE(session().authCopyFile("/x/a.txt", "/y"));
    EXPECT_TRUE(session().authCreateDir("/z"));
    EXPECT_THAT(
        launches(),
        ElementsAre("process.launch /bin/rm [-Rdf, /x/a.txt] out=null err=null in=inherited",
                    "process.launch /bin/mv [-f, /x/a.txt, /y] out=null err=null in=inherited",
                    "process.launch /bin/cp [-f, -p, -R, /x/a.txt, /y] out=null err=null "
                    "in=inherited",
                    "process.launch /bin/mkdir [-p, /z] out=null err=null in=inherited"));
    for (const auto& process : system.processes->launched()) EXPECT_EQ(process->waits(), 0);
}

} // namespace
} // namespace quorvane
