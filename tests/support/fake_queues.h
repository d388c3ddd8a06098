// Threads and sleeps in the test's hand.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Queues.h"
#include "platform/Values.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// What becomes of the operation of a detached thread or of the concurrent queue.
enum class Detached {
    /// It runs on a thread of its own, which the fake's destructor waits for.
    onThread,
    /// It runs at once on the calling thread.
    inlined,
    /// It is kept until the test runs it.
    recorded,
};

/// Journals "queues.detachThread", "queues.dispatchAsync" and "queues.sleepFor 0.3". Sleeping takes
/// no time worth naming.
class FakeQueues : public platform::Queues {
public:
    explicit FakeQueues(Journal& journal) : journal_(journal) {}
    ~FakeQueues() override;
    FakeQueues(const FakeQueues&) = delete;
    FakeQueues& operator=(const FakeQueues&) = delete;

    void detachThread(std::function<void()> operation) override;
    void dispatchAsync(std::function<void()> operation) override;
    void sleepFor(double seconds) override;
    /// Goes on by the seconds slept and by what the test adds.
    double uptime() override { return uptime_; }
    void advance(double seconds) { uptime_ += seconds; }

    /// Set these before other threads ask.
    void setMode(Detached mode) { mode_ = mode; }
    /// From now on no thread can be started, for this reason.
    void refuseThreads(const std::string& reason) { refusal_ = reason; }
    /// Called in place of each sleep, on the sleeping thread: the test makes things happen here.
    void onSleep(std::function<void(double seconds)> action) { sleepAction_ = std::move(action); }

    /// Runs what was recorded, in order, on the calling thread.
    void runRecorded();
    /// Waits for the threads that run.
    void join();

private:
    void carryOut(std::function<void()> operation);

    Journal& journal_;
    std::atomic<double> uptime_ = 0;
    Detached mode_ = Detached::onThread;
    MaybeText refusal_;
    std::function<void(double)> sleepAction_;
    std::mutex mutex_;
    std::vector<std::function<void()>> recorded_;
    std::vector<std::thread> threads_;
};

} // namespace quorvane::testing
