#include "platform/linux/authorization/authorization.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <thread>

#include <gmock/gmock.h>

#include "tests/platform/linux/authorization/children.h"
#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/platform/linux/authorization/script.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/stub_identity.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using testing::addScript;
using testing::contentOf;
using testing::eventually;
using testing::hasChildren;
using testing::kGrant;
using testing::kStay;

const AuthorizationItems kAdministrator{{"system.privilege.admin", {}, 0}};
const AuthorizationItems kCredentials{{"username", "anna", 0}, {"password", "secret", 0}};
constexpr AuthorizationFlags kWithInteraction = 19;
constexpr AuthorizationFlags kWithoutInteraction = 18;

class LinuxAuthorizationTest : public ::testing::Test {
protected:
    LinuxAuthorizationTest() {
        ::unsetenv("PKEXEC_UID");
        setAgent("printf R >&0\n" + kStay);
    }
    void TearDown() override { ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); } // for leak checkers

    /// What stands in for pkexec; notes its arguments and environment first.
    void setPkexec(const std::string& lines) const {
        addScript(scratch_, "pkexec",
                  "printf '%s\\n' \"$@\" >>" + scratch_ / "asked" + "\nenv >" +
                      scratch_ / "environment" + "\n" + lines);
    }
    void setHelper(const std::string& lines) const {
        addScript(scratch_, "helper", "env >" + scratch_ / "environment" + "\n" + lines);
    }
    void setAgent(const std::string& lines) const { addScript(scratch_, "agent", lines); }

    AuthorizationRef create() { return service_->create({}, {}, kAuthorizationDefaults).reference; }
    AuthorizationStatus ask(AuthorizationRef reference) {
        return service_->copyRights(reference, kAdministrator, {}, kWithInteraction);
    }
    AuthorizationStatus askWithCredentials(AuthorizationRef reference) {
        return service_->copyRights(reference, kAdministrator, kCredentials, kWithoutInteraction);
    }
    PrivilegedExecution run(AuthorizationRef reference) {
        return service_->executeWithPrivileges(reference, "/bin/rm", kAuthorizationDefaults,
                                               {"-Rdf", "/no/such/item"});
    }

    const testing::TimeLimit timeLimit_;
    const testing::ScratchFolder scratch_;
    const std::shared_ptr<Authorization> service_ = makeAuthorization(
        std::make_shared<testing::StubIdentity>(), {.pkexec = scratch_ / "pkexec",
                                                    .helper = scratch_ / "helper",
                                                    .passwordAgent = scratch_ / "agent",
                                                    .agentTest = testing::trustScripts});
};

/// Says that the tool with the first number has ended.
const std::string kEndFirst = "printf '\\1\\0\\0\\0\\2\\0\\0\\0\\0\\0\\0\\0' >&0\n";
const std::string kAgentReady = "printf R >&0\n";
/// Sees that polkit answers, where it is started as a watch.
const std::string kWatch = "if [ \"$1\" = --watch ]; then printf R >&0; exec cat >/dev/null; fi\n";

TEST_F(LinuxAuthorizationTest, AsksNobodyWherePolkitDoesNotAnswer) {
    setPkexec(kGrant + kStay);
    setAgent("exit 1\n");
    EXPECT_EQ(ask(create()), kAuthorizationInternal);
    EXPECT_EQ(contentOf(scratch_ / "asked"), "");
}

TEST_F(LinuxAuthorizationTest, GivesUpWhenPolkitNoLongerAnswers) {
    setPkexec("trap '' TERM HUP; exec sleep 1000\n");
    setAgent("printf R >&0; [ \"$1\" = --watch ] || " + kStay + "sleep 0.2\n");
    EXPECT_EQ(ask(create()), kAuthorizationInternal);
    EXPECT_EQ(askWithCredentials(create()), kAuthorizationInternal);
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(LinuxAuthorizationTest, AsksOnceAndRunsToolsThen) {
    setPkexec(kGrant + kEndFirst + kStay);
    const auto reference = create();
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(ask(reference), kAuthorizationSuccess);
    EXPECT_EQ(ask(reference), kAuthorizationSuccess);
    EXPECT_EQ(askWithCredentials(reference), kAuthorizationSuccess);
    EXPECT_EQ(contentOf(scratch_ / "asked"),
              "--disable-internal-agent\n" + scratch_ / "helper" + "\n");
    const auto execution = run(reference);
    EXPECT_EQ(execution.status, kAuthorizationSuccess);
    ASSERT_TRUE(execution.pipe);
    EXPECT_EQ(execution.pipe->readCharacter(), -1);
    EXPECT_TRUE(hasChildren());
    service_->free(reference, kAuthorizationDefaults);
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(LinuxAuthorizationTest, HidesTheUsersEnvironmentFromWhoeverAsks) {
    ASSERT_EQ(::setenv("SHELL", "/odd/shell", 1), 0);
    ASSERT_EQ(::setenv("HOME", "/home/anna", 1), 0);
    setPkexec("exit 127\n");
    ask(create());
    const std::string environment = contentOf(scratch_ / "environment");
    EXPECT_NE(environment.find("PATH=/usr/sbin:/usr/bin:/sbin:/bin\n"), std::string::npos);
    EXPECT_EQ(environment.find("SHELL="), std::string::npos);
    EXPECT_EQ(environment.find("HOME="), std::string::npos);
}

TEST_F(LinuxAuthorizationTest, TellsCanceledFromDenied) {
    const auto reference = create();
    setPkexec("exit 126\n");
    EXPECT_EQ(ask(reference), kAuthorizationCanceled);
    setPkexec("exit 127\n");
    EXPECT_EQ(ask(reference), kAuthorizationDenied);
    setPkexec(kGrant + kStay);
    EXPECT_EQ(ask(reference), kAuthorizationSuccess);
}

TEST_F(LinuxAuthorizationTest, IsDeniedWithoutTheProgramThatAsks) {
    EXPECT_EQ(ask(create()), kAuthorizationDenied);
    setAgent(kAgentReady + kStay);
    EXPECT_EQ(askWithCredentials(create()), kAuthorizationDenied);
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(LinuxAuthorizationTest, KnowsOneRight) {
    setPkexec(kGrant + kStay);
    const auto reference = create();
    for (const AuthorizationItems& rights :
         {AuthorizationItems{}, AuthorizationItems{{"system.privilege.other", {}, 0}},
          AuthorizationItems{kAdministrator[0], {"system.privilege.other", {}, 0}}})
        EXPECT_EQ(service_->copyRights(reference, rights, {}, kWithInteraction),
                  kAuthorizationDenied);
    EXPECT_EQ(service_->copyRights(reference, kAdministrator, {}, ~0U), kAuthorizationSuccess);
}

TEST_F(LinuxAuthorizationTest, DoesNotAskWithoutInteraction) {
    setPkexec(kGrant + kStay);
    setAgent(kAgentReady + kStay);
    const auto reference = create();
    const auto statusWith = [&](const AuthorizationItems& environment) {
        return service_->copyRights(reference, kAdministrator, environment, kWithoutInteraction);
    };
    EXPECT_EQ(statusWith({}), kAuthorizationInteractionNotAllowed);
    EXPECT_EQ(statusWith({kCredentials[0]}), kAuthorizationInteractionNotAllowed);
    EXPECT_EQ(statusWith({kCredentials[1]}), kAuthorizationInteractionNotAllowed);
    EXPECT_FALSE(std::filesystem::exists(scratch_ / "asked"));
}

TEST_F(LinuxAuthorizationTest, LetsTheAgentAnswerForCredentials) {
    const Path got = scratch_ / "got";
    // The agent has the credentials by the time that the question comes, and goes after it.
    setAgent(kWatch + kAgentReady + "head -c 12 >" + got + "\n" + kStay);
    setPkexec("while [ ! -s " + got + " ]; do sleep 0.01; done\n" + kGrant + kEndFirst + kStay);
    const auto reference = create();
    EXPECT_EQ(askWithCredentials(reference), kAuthorizationSuccess);
    EXPECT_EQ(contentOf(got), std::string("anna\0secret\0", 12));
    EXPECT_EQ(run(reference).status, kAuthorizationSuccess);
    service_->free(reference, kAuthorizationDefaults);
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(LinuxAuthorizationTest, CallsWrongCredentialsDenied) {
    setAgent(kAgentReady + kStay);
    for (const char* end : {"exit 126\n", "exit 127\n"}) {
        setPkexec(end);
        EXPECT_EQ(askWithCredentials(create()), kAuthorizationDenied);
    }
    const AuthorizationItems cut{{"username", "anna", 0}, {"password", Bytes("a\0b", 3), 0}};
    setPkexec(kGrant + kStay);
    EXPECT_EQ(service_->copyRights(create(), kAdministrator, cut, kWithoutInteraction),
              kAuthorizationDenied);
}

TEST_F(LinuxAuthorizationTest, SaysWhenTheAgentIsOfNoUse) {
    std::filesystem::remove(scratch_ / "agent");
    setPkexec(kGrant + kStay);
    EXPECT_EQ(askWithCredentials(create()), kAuthorizationInternal);
    for (const std::string& watch : {std::string(), kWatch}) {
        setAgent(watch + "exit 1\n");
        EXPECT_EQ(askWithCredentials(create()), kAuthorizationInternal);
    }
    EXPECT_FALSE(std::filesystem::exists(scratch_ / "asked"));
}

TEST_F(LinuxAuthorizationTest, RunsNothingWithoutTheRight) {
    const auto reference = create();
    const auto execution = run(reference);
    EXPECT_EQ(execution.status, kAuthorizationDenied);
    EXPECT_FALSE(execution.pipe);
    EXPECT_EQ(execution.reason.code, 0);
}

TEST_F(LinuxAuthorizationTest, KnowsItsReferences) {
    const auto freed = create();
    service_->free(freed, kAuthorizationDefaults);
    int other = 0;
    // NOLINTNEXTLINE(*-reinterpret-cast): a reference that nobody made
    const auto madeUp = reinterpret_cast<AuthorizationRef>(&other);
    for (auto* const wrong : {AuthorizationRef{}, freed, madeUp}) {
        EXPECT_EQ(ask(wrong), kAuthorizationInvalidRef);
        EXPECT_EQ(askWithCredentials(wrong), kAuthorizationInvalidRef);
        EXPECT_EQ(run(wrong).status, kAuthorizationInvalidRef);
        EXPECT_FALSE(run(wrong).pipe);
        service_->free(wrong, kAuthorizationDefaults);
    }
}

TEST_F(LinuxAuthorizationTest, GivesEveryReferenceARightOfItsOwn) {
    setPkexec(kGrant + kEndFirst + kStay);
    const auto first = create();
    const auto second = create();
    EXPECT_NE(first, second);
    EXPECT_EQ(ask(first), kAuthorizationSuccess);
    EXPECT_EQ(run(second).status, kAuthorizationDenied);
    EXPECT_EQ(ask(second), kAuthorizationSuccess);
    service_->free(first, kAuthorizationDefaults);
    EXPECT_EQ(run(first).status, kAuthorizationInvalidRef);
    EXPECT_EQ(run(second).status, kAuthorizationSuccess);
}

TEST_F(LinuxAuthorizationTest, LetsARunFinishThatIsUnderWayWhenItsReferenceIsFreed) {
    const Path asked = scratch_ / "request";
    const Path sign = scratch_ / "sign";
    setPkexec(kGrant + "head -c 1 >" + asked + "\nwhile [ ! -e " + sign +
              " ]; do sleep 0.01; done\n" + kEndFirst + kStay);
    const auto reference = create();
    ASSERT_EQ(ask(reference), kAuthorizationSuccess);
    std::thread runner([&] { EXPECT_EQ(run(reference).status, kAuthorizationSuccess); });
    EXPECT_TRUE(eventually([&] { return !contentOf(asked).empty(); }));
    service_->free(reference, kAuthorizationDefaults);
    EXPECT_EQ(run(reference).status, kAuthorizationInvalidRef);
    scratch_.addFile("sign");
    runner.join();
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(LinuxAuthorizationTest, LetsRunsWaitWhileTheUserIsAsked) {
    const Path sign = scratch_ / "sign";
    setPkexec("while [ ! -e " + sign + " ]; do sleep 0.01; done\n" + kGrant + kEndFirst + kStay);
    const auto reference = create();
    std::thread asker([&] { EXPECT_EQ(ask(reference), kAuthorizationSuccess); });
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(scratch_ / "asked"); }));
    std::thread runner([&] { EXPECT_EQ(run(reference).status, kAuthorizationSuccess); });
    EXPECT_EQ(run(create()).status, kAuthorizationDenied); // others are not held up
    scratch_.addFile("sign");
    asker.join();
    runner.join();
}

TEST_F(LinuxAuthorizationTest, ServesManyThreads) {
    setPkexec("exit 126\n");
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads)
        thread = std::thread([this] {
            for (int round = 0; round < 10; ++round) {
                const auto reference = create();
                EXPECT_EQ(ask(reference), kAuthorizationCanceled);
                EXPECT_EQ(run(reference).status, kAuthorizationDenied);
                service_->free(reference, kAuthorizationDefaults);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(LinuxAuthorizationTest, InheritsRightsOnlyFromAParentThatHasAsked) {
    const auto inherits = [&] {
        const auto inherited = service_->copyPrivilegedReference(kAuthorizationDefaults);
        EXPECT_EQ(inherited.reference != nullptr, inherited.status == kAuthorizationSuccess);
        return inherited.status;
    };
    EXPECT_EQ(inherits(), kAuthorizationDenied);
    for (const char* user : {"", "anna", "10 00", "-1"}) {
        ASSERT_EQ(::setenv("PKEXEC_UID", user, 1), 0);
        EXPECT_EQ(inherits(), kAuthorizationDenied);
    }
    ASSERT_EQ(::setenv("PKEXEC_UID", "1000", 1), 0);
    testing::asOrdinaryUser(scratch_.path(), [&] { EXPECT_EQ(inherits(), kAuthorizationDenied); });
    EXPECT_EQ(inherits(), testing::isSuperuser() ? kAuthorizationSuccess : kAuthorizationDenied);
}

TEST_F(LinuxAuthorizationTest, RunsToolsWithAnInheritedRightWithoutAsking) {
    QV_NEEDS_SUPERUSER();
    ASSERT_EQ(::setenv("PKEXEC_UID", "1000", 1), 0);
    setPkexec("exit 126\n");
    setHelper(kGrant + kEndFirst + kStay);
    const auto inherited = service_->copyPrivilegedReference(kAuthorizationDefaults);
    EXPECT_FALSE(hasChildren()); // most who inherit the right never use it
    EXPECT_EQ(run(inherited.reference).status, kAuthorizationSuccess);
    EXPECT_NE(contentOf(scratch_ / "environment").find("PKEXEC_UID=0\n"), std::string::npos);
    EXPECT_EQ(ask(inherited.reference), kAuthorizationSuccess);
    const auto another = service_->copyPrivilegedReference(kAuthorizationDefaults);
    EXPECT_EQ(ask(another.reference), kAuthorizationSuccess);
    service_->free(inherited.reference, kAuthorizationDefaults);
    service_->free(another.reference, kAuthorizationDefaults);
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
    EXPECT_FALSE(std::filesystem::exists(scratch_ / "asked"));
}

TEST_F(LinuxAuthorizationTest, AnInheritedRightIsOfNoUseWithoutTheHelper) {
    QV_NEEDS_SUPERUSER();
    ASSERT_EQ(::setenv("PKEXEC_UID", "1000", 1), 0);
    const auto inherited = service_->copyPrivilegedReference(kAuthorizationDefaults);
    EXPECT_EQ(run(inherited.reference).status, kAuthorizationDenied);
    EXPECT_EQ(ask(inherited.reference), kAuthorizationDenied);
}

} // namespace
} // namespace quorvane::platform::linux_
