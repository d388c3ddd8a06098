// Whoever is asked for administrator rights is asked once, and gives rights to move items alone.
#include <cerrno>
#include <thread>

#include <gmock/gmock.h>

#include "kit/auth/QVAuthorization.h"
#include "tests/app/uninstall_fixture.h"

namespace brightkeel {
namespace {

using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using namespace quorvane;

constexpr int kOn = platform::CheckBox::kOn;

/// A machine on which every item needs rights.
class Rights : public testing::UninstallTest, public ::testing::WithParamInterface<int> {
protected:
    Rights() {
        for (const Path tool : {"/bin/mv", "/bin/rm"}) system.disk->addFile(tool, "#!");
        system.disk->failAlways("recycle", quorvane::testing::FakeDisk::kAnyPath,
                                {EACCES, "Permission denied"});
    }

    std::vector<std::string> questions() {
        return system.journal->entries("authorization.copyRights");
    }
    std::vector<std::string> executions() {
        return system.journal->entries("authorization.execute");
    }
    platform::Authorization& service() { return *platform::services().authorization; }
    int ask(platform::AuthorizationRef reference) {
        return service().copyRights(reference, {{"system.privilege.admin", {}, 0}}, {},
                                    platform::kAuthorizationInteractionAllowed);
    }
    int codeOf(const Path& tool, const Arguments& arguments) {
        return service()
            .executeWithPrivileges(reference_, tool, platform::kAuthorizationDefaults, arguments)
            .reason.code;
    }

    platform::AuthorizationRef reference_ = system.authorization->makeReference();
};

INSTANTIATE_TEST_SUITE_P(AnswerIs, Rights,
                         ::testing::Values(platform::kAuthorizationCanceled,
                                           platform::kAuthorizationDenied,
                                           platform::kAuthorizationInternal));

TEST_P(Rights, AreAskedForOnce) {
    system.authorization->copyRightsStatus = GetParam();
    const auto before = system.disk->paths();
    run(kOn, kOn);
    EXPECT_THAT(questions(), SizeIs(1));
    EXPECT_THAT(executions(), IsEmpty());
    EXPECT_EQ(system.disk->paths(), before);
}

TEST_P(Rights, AreAskedForOnceByAllThreads) {
    system.authorization->copyRightsStatus = GetParam();
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number)
        threads.emplace_back([&] { EXPECT_EQ(ask(reference_), GetParam()); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(questions(), SizeIs(1));
}

TEST_F(Rights, OnceGrantedServeTheWholeRun) {
    system.authorization->effect = [this](const Path& tool, const Arguments& arguments) {
        if (tool == "/bin/mv") system.disk->erase(arguments[1]);
    };
    run(kOn, kOn);
    EXPECT_THAT(questions(), SizeIs(1));
    // What was found by its registration alone goes without rights.
    EXPECT_THAT(executions(), SizeIs(116));
    EXPECT_THAT(executions(), Each(Not(HasSubstr("/Registered/"))));
    EXPECT_THAT(executions(), Each(HasSubstr(" /bin/mv [-f, ")));
}

TEST_F(Rights, AreNotAskedForAgainAfterTheSessionIsGivenBack) {
    EXPECT_EQ(ask(reference_), platform::kAuthorizationSuccess);
    EXPECT_EQ(ask(reference_), platform::kAuthorizationSuccess);
    EXPECT_EQ(ask(system.authorization->makeReference()), platform::kAuthorizationDenied);
    service().free(reference_, platform::kAuthorizationDefaults);
    EXPECT_EQ(ask(reference_), platform::kAuthorizationDenied) << "another one by now";
    EXPECT_THAT(questions(), SizeIs(1));
}

class BrokenSession : public Rights {};

INSTANTIATE_TEST_SUITE_P(With, BrokenSession, ::testing::Values(EPIPE, ETIMEDOUT, EPROTO));

TEST_P(BrokenSession, IsNeitherUsedNorReplaced) {
    system.authorization->executeStatus = platform::kAuthorizationToolExecuteFailure;
    system.authorization->executeReason = {GetParam(), "broken"};
    run(kOn, kOn);
    EXPECT_THAT(questions(), SizeIs(1));
    EXPECT_THAT(executions(), SizeIs(1));
    EXPECT_EQ(codeOf("/bin/mv", {"-f", "/a", "/b"}), GetParam());
    EXPECT_THAT(executions(), SizeIs(1));
}

TEST_F(Rights, OutliveTheRefusalOfOneItem) {
    system.authorization->executeStatus = platform::kAuthorizationToolExecuteFailure;
    system.authorization->executeReason = {EPERM, "Operation not permitted"};
    EXPECT_EQ(codeOf("/bin/mv", {"-f", "/a", "/b"}), EPERM);
    EXPECT_EQ(codeOf("/bin/mv", {"-f", "/a", "/b"}), EPERM);
    EXPECT_THAT(executions(), SizeIs(2));
}

TEST_F(Rights, MoveItemsAndRemoveEmptyFoldersOnly) {
    EXPECT_EQ(codeOf("/bin/mv", {"-f", "/a", "/b"}), 0);
    EXPECT_EQ(codeOf("/bin/rm", {"-Rdf", "/a"}), 0);
    EXPECT_THAT(executions(),
                ::testing::ElementsAre("authorization.execute #1 /bin/mv [-f, /a, /b] options=0",
                                       "authorization.execute #1 /bin/rmdir [/a] options=0"));
    system.journal->clear();
    EXPECT_EQ(codeOf("/bin/rm", {"-R", "-f", "/a"}), EPERM);
    EXPECT_EQ(codeOf("/bin/rm", {"-Rdf", "/a", "/b"}), EPERM);
    EXPECT_EQ(codeOf("/bin/rm", {"/a"}), EPERM);
    EXPECT_EQ(codeOf("/bin/cp", {"-f", "-p", "-R", "/a", "/b"}), EPERM);
    EXPECT_EQ(codeOf("/bin/mkdir", {"-p", "/a"}), EPERM);
    EXPECT_THAT(executions(), IsEmpty());
}

} // namespace
} // namespace brightkeel
