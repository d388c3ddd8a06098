#include "platform/linux/authorization/credential_agent.h"

#include <sys/prctl.h>

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/platform/linux/authorization/children.h"
#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/platform/linux/authorization/script.h"
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
        return CredentialAgent::start(addScript(scratch_, "agent", lines), "anna", "secret");
    }

    const testing::TimeLimit timeLimit_;
    const testing::ScratchFolder scratch_;
};

TEST_F(CredentialAgentTest, GetsTheCredentialsOnceItIsReady) {
    const auto [status, agent] = CredentialAgent::start(readyAgent(), "anna", "s\xc3\xa9 cret\n");
    EXPECT_EQ(status, kAuthorizationSuccess);
    EXPECT_TRUE(agent);
    const std::string expected("anna\0s\xc3\xa9 cret\n\0", 15);
    EXPECT_TRUE(eventually([&] { return contentOf(scratch_ / "got") == expected; }));
}

TEST_F(CredentialAgentTest, MayBeHandedLongOrEmptyCredentials) {
    const std::string longest(kMaximumCredential, 'x');
    const auto [status, agent] = CredentialAgent::start(readyAgent(), "", longest);
    EXPECT_EQ(status, kAuthorizationSuccess);
    const std::string expected = std::string(1, '\0') + longest + std::string(1, '\0');
    EXPECT_TRUE(eventually([&] { return contentOf(scratch_ / "got") == expected; }));
}

TEST_F(CredentialAgentTest, IsNotAskedForWhatCanBeNobodysCredentials) {
    const std::string tooLong(kMaximumCredential + 1, 'x');
    const std::string cut("a\0b", 3);
    for (const std::string& wrong : {tooLong, cut}) {
        EXPECT_EQ(CredentialAgent::start(readyAgent(), wrong, "").status, kAuthorizationDenied);
        EXPECT_EQ(CredentialAgent::start(readyAgent(), "", wrong).status, kAuthorizationDenied);
    }
    EXPECT_FALSE(std::filesystem::exists(scratch_ / "environment"));
}

TEST_F(CredentialAgentTest, KnowsTheWayToTheBusAndNothingElse) {
    ASSERT_EQ(::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/tmp/a bus", 1), 0);
    const auto [status, agent] = CredentialAgent::start(readyAgent(), "anna", "secret");
    EXPECT_EQ(status, kAuthorizationSuccess);
    const std::string environment = contentOf(scratch_ / "environment");
    EXPECT_NE(environment.find("DBUS_SYSTEM_BUS_ADDRESS=unix:path=/tmp/a bus\n"),
              std::string::npos);
    EXPECT_NE(environment.find("PATH=/usr/sbin:/usr/bin:/sbin:/bin\n"), std::string::npos);
    EXPECT_EQ(environment.find("HOME="), std::string::npos);
}

TEST_F(CredentialAgentTest, EndsWhenItIsNoLongerNeeded) {
    auto started = CredentialAgent::start(readyAgent(), "anna", "secret");
    ASSERT_TRUE(started.agent);
    started.agent.reset();
    EXPECT_TRUE(eventually([] { return !testing::hasChildren(); }));
}

TEST_F(CredentialAgentTest, IsOfNoUseWhenItDoesNotGetReady) {
    EXPECT_EQ(start("exit 0\n").status, kAuthorizationInternal);
    EXPECT_EQ(start("printf E >&0; exec sleep 1000\n").status, kAuthorizationInternal);
    EXPECT_EQ(CredentialAgent::start(scratch_ / "missing", "anna", "secret").status,
              kAuthorizationInternal);
    EXPECT_TRUE(eventually([] { return !testing::hasChildren(); }));
}

TEST_F(CredentialAgentTest, IsNotWaitedForForever) {
    const Path hangs = addScript(scratch_, "agent", "trap '' TERM HUP; exec sleep 1000\n");
    const auto [status, agent] = CredentialAgent::start(hangs, "anna", "secret", 50ms);
    EXPECT_EQ(status, kAuthorizationInternal);
    EXPECT_FALSE(agent);
    EXPECT_TRUE(eventually([] { return !testing::hasChildren(); }));
}

} // namespace
} // namespace quorvane::platform::linux_
