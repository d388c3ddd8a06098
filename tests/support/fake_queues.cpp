#include "tests/support/fake_queues.h"

#include <chrono>
#include <sstream>

namespace quorvane::testing {
namespace {

using namespace std::chrono_literals;

/// Long enough that a loop of sleeps does not fill the journal, short enough not to be felt.
constexpr auto kSleep = 1ms;

} // namespace

FakeQueues::~FakeQueues() { join(); }

void FakeQueues::detachThread(std::function<void()> operation) {
    journal_.add("queues.detachThread");
    if (refusal_) throw platform::Exception("ThreadException", *refusal_);
    carryOut(std::move(operation));
}

void FakeQueues::dispatchAsync(std::function<void()> operation) {
    journal_.add("queues.dispatchAsync");
    carryOut(std::move(operation));
}

void FakeQueues::carryOut(std::function<void()> operation) {
    if (mode_ == Detached::inlined) return operation();
    const std::lock_guard lock(mutex_);
    if (mode_ == Detached::recorded)
        recorded_.push_back(std::move(operation));
    else
        threads_.emplace_back(std::move(operation));
}

void FakeQueues::sleepFor(double seconds) {
    std::ostringstream entry;
    entry << "queues.sleepFor " << seconds;
    journal_.add(entry.str());
    advance(seconds);
    if (sleepAction_) return sleepAction_(seconds);
    std::this_thread::sleep_for(kSleep);
}

void FakeQueues::runRecorded() {
    std::vector<std::function<void()>> operations;
    {
        const std::lock_guard lock(mutex_);
        operations.swap(recorded_);
    }
    for (const auto& operation : operations) operation();
}

void FakeQueues::join() {
    std::unique_lock lock(mutex_);
    while (!threads_.empty()) {
        std::thread thread = std::move(threads_.back());
        threads_.pop_back();
        lock.unlock();
        thread.join();
        lock.lock();
    }
}

} // namespace quorvane::testing
