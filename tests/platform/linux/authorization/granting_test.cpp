#include "platform/linux/authorization/granting.h"

#include <poll.h>
#include <sys/prctl.h>

#include <gtest/gtest.h>

#include "tests/platform/linux/authorization/children.h"
#include "tests/platform/linux/authorization/script.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using testing::addScript;
using testing::eventually;
using testing::hasChildren;
using testing::kGrant;
using testing::kStay;

/// Takes no notice of anything but being killed.
const std::string kHang = "trap '' TERM HUP; exec sleep 1000\n";
const std::string kReady = "printf R >&0\n";

class GrantingTest : public ::testing::Test {
protected:
    void TearDown() override { ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); } // for leak checkers

    std::optional<PolkitWatch> startWatch(const std::string& lines) const {
        return PolkitWatch::start(addScript(scratch_, "watch", lines));
    }
    /// What comes of waiting for a helper that does this.
    AuthorizationStatus statusOf(const std::string& lines, const PolkitWatch* watch = nullptr,
                                 std::chrono::milliseconds limit = kNoLimit) const {
        auto helper = SocketChild::start(addScript(scratch_, "helper", lines), {}, {});
        return helper ? waitUntilGranted(helper.value(), watch, limit) : kAuthorizationInvalidRef;
    }

    const testing::TimeLimit timeLimit_;
    const testing::ScratchFolder scratch_;
};

TEST_F(GrantingTest, GrantsTheRightWithTheFirstAnswer) {
    EXPECT_EQ(statusOf(kGrant + kStay), kAuthorizationSuccess);
    EXPECT_EQ(statusOf(kGrant + "exit 126\n"), kAuthorizationSuccess);
}

TEST_F(GrantingTest, TellsADismissedDialogFromEveryOtherEnd) {
    EXPECT_EQ(statusOf("exit 126\n"), kAuthorizationCanceled);
    EXPECT_EQ(statusOf("exit 127\n"), kAuthorizationDenied);
    EXPECT_EQ(statusOf("exit 0\n"), kAuthorizationDenied);
    EXPECT_EQ(statusOf("kill -KILL $$\n"), kAuthorizationDenied);
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(GrantingTest, TakesNothingElseForAGrant) {
    EXPECT_EQ(statusOf("echo hello >&0; exec sleep 0.1\n"), kAuthorizationDenied);
    EXPECT_EQ(statusOf("printf '\\0\\0\\0\\0\\3\\0\\0\\0\\0\\0\\0\\0' >&0\n" + kStay),
              kAuthorizationDenied);
}

TEST_F(GrantingTest, TakesAsLongAsPolkitAnswers) {
    const auto watch = startWatch(kReady + kStay);
    ASSERT_TRUE(watch);
    EXPECT_EQ(statusOf("sleep 0.3\n" + kGrant + kStay, &*watch), kAuthorizationSuccess);
    EXPECT_EQ(statusOf("sleep 0.3\nexit 126\n", &*watch), kAuthorizationCanceled);
}

TEST_F(GrantingTest, IsGivenUpWhenPolkitNoLongerAnswers) {
    {
        const auto watch = startWatch(kReady + "sleep 0.2\n");
        ASSERT_TRUE(watch);
        EXPECT_EQ(statusOf(kHang, &*watch), kAuthorizationInternal);
    }
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(GrantingTest, IsGivenUpAtTheLimitThoughPolkitAnswers) {
    {
        const auto watch = startWatch(kReady + kStay);
        ASSERT_TRUE(watch);
        EXPECT_EQ(statusOf(kHang, &*watch, std::chrono::milliseconds(100)), kAuthorizationInternal);
    }
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(GrantingTest, IsTakenFromAHelperThatIsThereThoughPolkitHasGone) {
    const auto watch = startWatch(kReady);
    ASSERT_TRUE(watch);
    auto helper = SocketChild::start(addScript(scratch_, "helper", kGrant + kStay), {}, {});
    ASSERT_TRUE(helper);
    for (const int socket : {helper.value().socket(), watch->socket()}) {
        pollfd end{socket, POLLIN, 0};
        ASSERT_EQ(::poll(&end, 1, -1), 1);
    }
    EXPECT_EQ(waitUntilGranted(helper.value(), &*watch), kAuthorizationSuccess);
}

TEST_F(GrantingTest, IsNotWatchedWherePolkitDoesNotAnswer) {
    EXPECT_FALSE(startWatch("exit 1\n"));
    EXPECT_FALSE(startWatch("printf E >&0\n" + kStay));
    const Path hangs = addScript(scratch_, "watch", kHang);
    EXPECT_FALSE(PolkitWatch::start(hangs, std::chrono::milliseconds(50)));
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(GrantingTest, IsNoLongerWatchedWhenNobodyWaits) {
    ASSERT_TRUE(startWatch(kReady + kHang));
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

} // namespace
} // namespace quorvane::platform::linux_
