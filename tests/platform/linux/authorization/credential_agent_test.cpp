#include "platform/linux/authorization/credential_agent.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/platform/linux/authorization/children.h"
#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/platform/linux/authorization/script.h"
#include "tests/platform/linux/child_process.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;
using testing::addScript;
using testing::contentOf;
using testing::eventually;

class CredentialAgentTest : public ::testing::Test {
protected:
    void TearDown() override { ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); } // for leak checkers

    /// An agent that is ready and keeps what it is sent in the file "got".
    Path readyAgent() const {
        return addScript(scratch_, "agent",
                         "env >" + scratch_ / "environment" + "\nprintf R >&0\nexec cat >" +
                             scratch_ / "got" + "\n");
    }
    CredentialAgent::Start start(const std::string& lines) const {
        return start(addScript(scratch_, "agent", lines), "anna", "secret");
    }
    static CredentialAgent::Start start(const Path& agent, const std::string& user,
                                        const std::string& password,
                                        std::chrono::milliseconds patience = kAgentPatience) {
        return CredentialAgent::start(agent, user, password, testing::trustScripts, patience);
    }

    const testing::TimeLimit timeLimit_;
    const testing::ScratchFolder scratch_;
};

TEST_F(CredentialAgentTest, GetsTheCredentialsOnceItIsReady) {
    const auto [status, agent] = start(readyAgent(), "anna", "s\xc3\xa9 cret\n");
    EXPECT_EQ(status, kAuthorizationSuccess);
    EXPECT_TRUE(agent);
    const std::string expected("anna\0s\xc3\xa9 cret\n\0", 15);
    EXPECT_TRUE(eventually([&] { return contentOf(scratch_ / "got") == expected; }));
}

TEST_F(CredentialAgentTest, MayBeHandedLongOrEmptyCredentials) {
    const std::string longest(kMaximumCredential, 'x');
    const auto [status, agent] = start(readyAgent(), "", longest);
    EXPECT_EQ(status, kAuthorizationSuccess);
    const std::string expected = std::string(1, '\0') + longest + std::string(1, '\0');
    EXPECT_TRUE(eventually([&] { return contentOf(scratch_ / "got") == expected; }));
}

TEST_F(CredentialAgentTest, IsNotAskedForWhatCanBeNobodysCredentials) {
    const std::string tooLong(kMaximumCredential + 1, 'x');
    const std::string cut("a\0b", 3);
    for (const std::string& wrong : {tooLong, cut}) {
        EXPECT_EQ(start(readyAgent(), wrong, "").status, kAuthorizationDenied);
        EXPECT_EQ(start(readyAgent(), "", wrong).status, kAuthorizationDenied);
    }
    EXPECT_FALSE(std::filesystem::exists(scratch_ / "environment"));
}

TEST_F(CredentialAgentTest, KnowsNothingOfTheUsersEnvironment) {
    ASSERT_EQ(::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/tmp/a bus", 1), 0);
    ASSERT_EQ(::setenv("GIO_EXTRA_MODULES", "/tmp", 1), 0);
    ASSERT_EQ(::setenv("LD_LIBRARY_PATH", "/tmp", 1), 0);
    const auto [status, agent] = start(readyAgent(), "anna", "secret");
    EXPECT_EQ(status, kAuthorizationSuccess);
    const std::string environment = contentOf(scratch_ / "environment");
    EXPECT_NE(environment.find("PATH=/usr/sbin:/usr/bin:/sbin:/bin\n"), std::string::npos);
    for (const char* variable : {"DBUS_SYSTEM_BUS_ADDRESS=", "GIO_", "LD_", "HOME="})
        EXPECT_EQ(environment.find(variable), std::string::npos) << variable;
}

TEST_F(CredentialAgentTest, IsToldNothingIfItDoesNotPassTheTest) {
    const auto distrust = [](const Path&, const SocketChild&) { return false; };
    const auto [status, agent] = CredentialAgent::start(readyAgent(), "anna", "secret", distrust);
    EXPECT_EQ(status, kAuthorizationInternal);
    EXPECT_FALSE(agent);
    EXPECT_TRUE(eventually([] { return !testing::hasChildren(); }));
    EXPECT_EQ(contentOf(scratch_ / "got"), "");
}

TEST_F(CredentialAgentTest, ThatOthersMayReadOrChangeIsToldNothing) {
    const Path program = scratch_ / "agent";
    std::filesystem::copy_file("/bin/cat", program);
    for (const mode_t mode : {0755U, 0731U, 0713U, 0111U}) {
        ASSERT_EQ(::chmod(program.c_str(), mode), 0);
        const bool isUsers = mode == 0111U && testing::isSuperuser();
        const unsigned owner = isUsers ? testing::kOrdinaryUser : ::geteuid();
        ASSERT_EQ(::chown(program.c_str(), owner, static_cast<gid_t>(-1)), 0);
        testing::asOrdinaryUser(scratch_.path(), [&] {
            const auto child = SocketChild::start(program, {}, {});
            ASSERT_TRUE(child);
            EXPECT_FALSE(keepsSecrets(program, child.value())) << mode;
        });
    }
}

TEST_F(CredentialAgentTest, ThatOthersCannotLookIntoKeepsSecrets) {
    QV_NEEDS_SUPERUSER();
    const Path program = scratch_ / "agent";
    std::filesystem::copy_file("/bin/cat", program);
    ASSERT_EQ(::chmod(program.c_str(), 0711), 0);
    const auto isTrusted = [&] {
        const auto child = SocketChild::start(program, {}, {});
        return child && keepsSecrets(program, child.value());
    };
    testing::asOrdinaryUser(scratch_.path(), [&] { EXPECT_TRUE(isTrusted()); });
    EXPECT_TRUE(isTrusted()); // the superuser's
}

TEST_F(CredentialAgentTest, EndsWhenItIsNoLongerNeeded) {
    auto started = start(readyAgent(), "anna", "secret");
    ASSERT_TRUE(started.agent);
    started.agent.reset();
    EXPECT_TRUE(eventually([] { return !testing::hasChildren(); }));
}

TEST_F(CredentialAgentTest, IsOfNoUseWhenItDoesNotGetReady) {
    EXPECT_EQ(start("exit 0\n").status, kAuthorizationInternal);
    EXPECT_EQ(start("printf E >&0; exec sleep 1000\n").status, kAuthorizationInternal);
    EXPECT_EQ(start(scratch_ / "missing", "anna", "secret").status, kAuthorizationInternal);
    EXPECT_TRUE(eventually([] { return !testing::hasChildren(); }));
}

TEST_F(CredentialAgentTest, IsNotWaitedForForever) {
    const Path hangs = addScript(scratch_, "agent", "trap '' TERM HUP; exec sleep 1000\n");
    const auto [status, agent] = start(hangs, "anna", "secret", 50ms);
    EXPECT_EQ(status, kAuthorizationInternal);
    EXPECT_FALSE(agent);
    EXPECT_TRUE(eventually([] { return !testing::hasChildren(); }));
}

} // namespace
} // namespace quorvane::platform::linux_
