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

const Path kTool = "/bin/tool";

class Session : public ::testing::Test {
protected:
    Session() : log(system) {
        system.disk->addFile(kTool, "#!");
        system.disk->setPermissions(kTool, 0755);
    }

    QVAuthorization& session() { return QVAuthorization::sharedController(); }
    std::vector<std::string> asked() { return system.journal->entries("authorization."); }

    FakePlatform system;
    testing::LogReader log;
};

TEST_F(Session, IsOneInstanceForTheProcess) {
    QVAuthorization& first = QVAuthorization::sharedController(WithGui::no);
    EXPECT_EQ(&first, &QVAuthorization::sharedController(WithGui::yes));
    EXPECT_FALSE(first.hasGui());
    EXPECT_EQ(QVAuthorization::allocate(), nullptr);
    EXPECT_EQ(&first.copy(), &first);
    EXPECT_EQ(&first.retain(), &first);
    EXPECT_EQ(&first.autorelease(), &first);
    first.release();
    EXPECT_EQ(first.retainCount(), 4294967295U);
}

TEST_F(Session, AnAllocatedInstanceIsTheSharedOneBeforeItIsMadeReady) {
    QVAuthorization* allocated = QVAuthorization::allocate();
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(&QVAuthorization::sharedController(), allocated);
    EXPECT_FALSE(allocated->hasGui());
    EXPECT_THAT(asked(), IsEmpty());
    allocated->init();
    EXPECT_TRUE(allocated->hasGui());
}

TEST_F(Session, StartsWithoutARight) {
    EXPECT_TRUE(session().hasGui());
    EXPECT_EQ(session().authRef(), nullptr);
    EXPECT_FALSE(session().isAuthorized());
    EXPECT_TRUE(session().canAuthorize());
    EXPECT_EQ(session().userDirectory(), "/Users/anna");
    EXPECT_THAT(asked(), ElementsAre("authorization.copyPrivilegedReference flags=0"));
    session().setHasGui(false);
    EXPECT_FALSE(session().canAuthorize());
}

TEST_F(Session, AdoptsAnInheritedRight) {
    system.authorization->copyPrivilegedReferenceStatus = platform::kAuthorizationSuccess;
    EXPECT_NE(session().authRef(), nullptr);
    EXPECT_TRUE(session().isAuthorized());
}

TEST_F(Session, AsksTheUserOnce) {
    EXPECT_TRUE(session().authStart());
    EXPECT_TRUE(session().authStart());
    EXPECT_THAT(asked(), ElementsAre("authorization.copyPrivilegedReference flags=0",
                                     "authorization.create rights=[] environment=[] flags=0",
                                     "authorization.copyRights #1 rights=[system.privilege.admin] "
                                     "environment=[] flags=19"));
    EXPECT_TRUE(session().isAuthorized());
    session().authEnd();
    EXPECT_FALSE(session().isAuthorized());
    EXPECT_EQ(system.authorization->referencesHeld(), 0);
}

TEST_F(Session, ACancelledDialogIsSilent) {
    system.authorization->copyRightsStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(session().authStart());
    EXPECT_EQ(session().authRef(), nullptr);
    EXPECT_EQ(asked().back(), "authorization.free #1 flags=0");
    EXPECT_THAT(system.consoleLog->messages(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_FALSE(session().authStart()); // asks again
    EXPECT_EQ(asked().size(), 7U);
}

TEST_F(Session, AReferenceThatCannotBeMadeIsNoSession) {
    system.authorization->createStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(session().authStart());
    EXPECT_EQ(session().authRef(), nullptr);
    EXPECT_THAT(system.consoleLog->messages(), IsEmpty());
}

TEST_F(Session, WithoutGuiItDoesNotAsk) {
    QVAuthorization::sharedController(WithGui::no);
    EXPECT_FALSE(session().authStart());
    EXPECT_EQ(session().authExecTask(kTool, {}), kPrivilegedNotAuthorized);
    EXPECT_THAT(system.consoleLog->messages(),
                ElementsAre("Unable to authorize", "Unable to authorize"));
    EXPECT_THAT(asked(), ElementsAre("authorization.copyPrivilegedReference flags=0"));
}

TEST_F(Session, TakesAUserNameAndPassword) {
    EXPECT_FALSE(session().authStartWithUser(std::nullopt, "secret"));
    EXPECT_FALSE(session().authStartWithUser("anna", std::nullopt));
    EXPECT_TRUE(session().authStartWithUser("anna", "secret"));
    EXPECT_THAT(asked(), ElementsAre("authorization.copyPrivilegedReference flags=0",
                                     "authorization.create rights=[] environment=[username=anna, "
                                     "password=secret] flags=0",
                                     "authorization.copyRights #1 rights=[system.privilege.admin] "
                                     "environment=[username=anna, password=secret] flags=18"));
}

TEST_F(Session, CredentialsReplaceAReferenceWithoutFreeingIt) {
    session().authStart();
    const auto first = session().authRef();
    EXPECT_TRUE(session().authStartWithUser("anna", "secret"));
    EXPECT_NE(session().authRef(), first);
    EXPECT_EQ(system.authorization->referencesHeld(), 2);
}

TEST_F(Session, WrongCredentialsAreLogged) {
    system.authorization->copyRightsStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(session().authStartWithUser("anna", "wrong"));
    EXPECT_EQ(session().authRef(), nullptr);
    EXPECT_EQ(system.authorization->referencesHeld(), 0);
    EXPECT_THAT(system.consoleLog->messages(),
                ElementsAre("Authorization failed. Invalid username or password"));
    EXPECT_THAT(log.messages(), ElementsAre("Authorization failed. Invalid username or password"));
}

TEST_F(Session, CredentialsWithoutAReferenceAreLogged) {
    system.authorization->createStatus = -60008;
    EXPECT_FALSE(session().authStartWithUser("anna", "secret"));
    EXPECT_EQ(session().authRef(), nullptr);
    EXPECT_THAT(system.consoleLog->messages(),
                ElementsAre("Unable to create authRef - error -60008"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Session, TheSuperuserNeedsNoRight) {
    system.identity->becomeSuperuser();
    EXPECT_TRUE(session().isAuthorized());
    EXPECT_TRUE(session().canAuthorize());
    EXPECT_EQ(session().userDirectory(), std::nullopt);
    EXPECT_TRUE(session().authStart());
    EXPECT_TRUE(session().authStartWithUser(std::nullopt, std::nullopt));
    session().authEnd();
    EXPECT_TRUE(session().isAuthorized());
    EXPECT_THAT(asked(), ElementsAre("authorization.copyPrivilegedReference flags=0"));
}

TEST_F(Session, RunsToolsWithTheRight) {
    EXPECT_EQ(session().authExecTask(kTool, {"-x", "a b"}), 0);
    EXPECT_EQ(asked().back(), "authorization.execute #1 /bin/tool [-x, a b] options=0");
    EXPECT_EQ(system.authorization->endsOfFileRead(), 0);
}

TEST_F(Session, WaitsForTheToolsOutputToEnd) {
    system.authorization->toolOutput = "12345";
    EXPECT_EQ(session().authExecTask(kTool, {}, Async::no), 0);
    EXPECT_EQ(system.authorization->charactersRead(), 5);
    EXPECT_EQ(system.authorization->endsOfFileRead(), 1);
}

TEST_F(Session, AnswersTheServicesStatus) {
    system.authorization->executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_EQ(session().authExecTask(kTool, {}, Async::no), -60031);
}

TEST_F(Session, AMissingToolIsMinusTwo) {
    EXPECT_EQ(session().authExecTask("/bin/missing", {}), kPrivilegedToolMissing);
    EXPECT_THAT(system.consoleLog->messages(),
                ElementsAre("Unable to execute task: path /bin/missing doesn't exist"));
}

TEST_F(Session, ARefusedRightIsMinusOne) {
    system.authorization->copyRightsStatus = platform::kAuthorizationDenied;
    EXPECT_EQ(session().authExecTask(kTool, {}), kPrivilegedNotAuthorized);
}

TEST_F(Session, TheSuperuserRunsToolsThroughTheProcessRunner) {
    system.identity->becomeSuperuser();
    system.processes->script(kTool, {.exitStatus = 1});
    EXPECT_EQ(session().authExecTask(kTool, {"a"}), 0);
    EXPECT_EQ(system.processes->lastLaunched()->waits(), 0);
    EXPECT_EQ(session().authExecTask(kTool, {"a"}, Async::no), 0);
    EXPECT_EQ(system.processes->lastLaunched()->waits(), 1);
    EXPECT_THAT(system.journal->entries("process.launch"),
                ElementsAre("process.launch /bin/tool [a] out=null err=null in=inherited",
                            "process.launch /bin/tool [a] out=null err=null in=inherited"));
}

} // namespace
} // namespace quorvane
