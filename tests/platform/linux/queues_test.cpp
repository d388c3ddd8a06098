#include "platform/linux/queues.h"

#include <atomic>
#include <future>
#include <limits>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kForever = std::numeric_limits<double>::infinity();

class LinuxQueuesTest : public ::testing::Test {
protected:
    std::shared_ptr<Queues> queues_ = makeQueues();
};

TEST_F(LinuxQueuesTest, RunsADetachedOperationOnAnotherThread) {
    const testing::TimeLimit timeLimit;
    std::promise<void> mayGoOn;
    std::promise<std::thread::id> ran;
    auto gate = mayGoOn.get_future();
    // It waits for its caller, who so cannot have waited for it.
    queues_->detachThread([&] {
        gate.wait();
        ran.set_value_at_thread_exit(std::this_thread::get_id());
    });
    mayGoOn.set_value();
    EXPECT_NE(ran.get_future().get(), std::this_thread::get_id());
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
