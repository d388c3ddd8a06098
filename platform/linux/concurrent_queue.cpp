#include "platform/linux/concurrent_queue.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace quorvane::platform::linux_ {
namespace {

/// So many slow operations do not keep others waiting; more threads would only cost memory.
constexpr std::size_t kMostThreads = 64;
constexpr std::chrono::seconds kIdleTime{5};

} // namespace

void ConcurrentQueue::add(std::function<void()> operation) {
    const std::lock_guard lock(mutex_);
    operations_.push_back(std::move(operation));
    if (operations_.size() > idle_ && threads_ < kMostThreads && startThread()) return;
    added_.notify_one();
}

/// Under the lock. Without a thread the operation waits for one that runs, or for a later try.
bool ConcurrentQueue::startThread() {
    try {
        std::thread([this] { work(); }).detach();
    } catch (const std::system_error&) {
        return false;
    }
    ++threads_;
    return true;
}

void ConcurrentQueue::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        ++idle_;
        const bool more = added_.wait_for(lock, kIdleTime, [this] { return !operations_.empty(); });
        --idle_;
        if (!more) break;
        std::function<void()> operation = std::move(operations_.front());
        operations_.pop_front();
        lock.unlock();
        operation();
        operation = nullptr; // what it holds goes without the lock
        lock.lock();
    }
    --threads_;
}

ConcurrentQueue& concurrentQueue() {
    static auto& queue = *new ConcurrentQueue;
    return queue;
}

} // namespace quorvane::platform::linux_
