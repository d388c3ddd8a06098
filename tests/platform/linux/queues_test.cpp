#include "platform/linux/queues.h"

#include <atomic>
#include <limits>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr uid_t kNobody = 65534;
constexpr double kForever = std::numeric_limits<double>::infinity();

class LinuxQueuesTest : public ::testing::Test {
protected:
    std::shared_ptr<Queues> queues_ = makeQueues();
};

TEST_F(LinuxQueuesTest, RunsADetachedOperationOnAnotherThread) {
    std::atomic<bool> mayGoOn = false;
    std::atomic<std::thread::id> ran;
    // It waits for its caller, who so cannot have waited for it.
    queues_->detachThread([&] {
        testing::eventually([&] { return mayGoOn.load(); });
        ran = std::this_thread::get_id();
    });
    mayGoOn = true;
    EXPECT_TRUE(testing::eventually([&] { return ran.load() != std::thread::id(); }));
    EXPECT_NE(ran.load(), std::this_thread::get_id());
}

TEST_F(LinuxQueuesTest, DispatchesSideBySideAndReturnsAtOnce) {
    constexpr int kOperations = 8;
    std::atomic<int> running = 0;
    std::atomic<bool> mayEnd = false;
    std::atomic<int> ended = 0;
    // They all run before the first one ends.
    for (int i = 0; i < kOperations; ++i)
        queues_->dispatchAsync([&] {
            ++running;
            testing::eventually([&] { return mayEnd.load(); });
            ++ended;
        });
    EXPECT_TRUE(testing::eventually([&] { return running == kOperations; }));
    EXPECT_EQ(ended, 0);
    mayEnd = true;
    EXPECT_TRUE(testing::eventually([&] { return ended == kOperations; }));
}

TEST_F(LinuxQueuesTest, KeepsWhatExceedsItsThreadsForLater) {
    constexpr int kOperations = 500;
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    std::atomic<bool> mayEnd = false;
    for (int i = 0; i < kOperations; ++i)
        queues_->dispatchAsync([&] {
            ++begun;
            testing::eventually([&] { return mayEnd.load(); });
            ++ended;
        });
    EXPECT_TRUE(testing::eventually([&] { return begun == 64; }));
    mayEnd = true;
    EXPECT_TRUE(testing::eventually([&] { return ended == kOperations; }));
}

TEST_F(LinuxQueuesTest, LetsGoOfWhatADispatchedOperationHolds) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    queues_->dispatchAsync([held] {});
    held.reset();
    EXPECT_TRUE(testing::eventually([&] { return watched.expired(); }));
}

TEST_F(LinuxQueuesTest, DoesNotSleepForNonsensicalTimes) {
    const testing::TimeLimit timeLimit;
    for (const double seconds : {0.0, -1.0, -kForever, kNotANumber}) queues_->sleepFor(seconds);
}

/// Sleeps in a process of its own, whose end alone ends such a sleep.
void sleepInAChild(Queues& queues, double seconds) {
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        std::atomic<bool> entered = false;
        std::atomic<bool> left = false;
        queues.detachThread([&] {
            entered = true;
            queues.sleepFor(seconds);
            left = true;
        });
        const bool ran = testing::eventually([&] { return entered.load(); });
        std::this_thread::sleep_for(50ms);
        ::_exit(ran && !left ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << seconds;
}

TEST_F(LinuxQueuesTest, SleepsOnForHugeTimes) {
    for (const double seconds : {1e10, 1e300, kForever}) sleepInAChild(*queues_, seconds);
}

TEST_F(LinuxQueuesTest, SaysThatNoThreadCanBeStarted) {
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        // The limit does not hold for the superuser.
        const rlimit none{0, 0};
        if (::getuid() == 0 && ::setuid(kNobody) != 0) ::_exit(2);
        if (::setrlimit(RLIMIT_NPROC, &none) != 0) ::_exit(3);
        try {
            queues_->detachThread([] {});
            ::_exit(4);
        } catch (const Exception& exception) {
            ::_exit(exception.name() == "ThreadException" &&
                            exception.reason() == "Resource temporarily unavailable"
                        ? 0
                        : 5);
        }
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(LinuxQueuesTest, UptimeNeverGoesBack) {
    double before = queues_->uptime();
    EXPECT_GT(before, 0);
    for (int count = 0; count < 1000; ++count) {
        const double now = queues_->uptime();
        ASSERT_GE(now, before);
        before = now;
    }
}

TEST_F(LinuxQueuesTest, UptimeGoesOnDuringASleep) {
    const double before = queues_->uptime();
    queues_->sleepFor(0.02);
    EXPECT_GE(queues_->uptime() - before, 0.02);
}

} // namespace
} // namespace quorvane::platform::linux_
