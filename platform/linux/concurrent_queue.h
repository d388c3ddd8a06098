// The process's concurrent queue.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

namespace quorvane::platform::linux_ {

/// Runs operations side by side on threads of its own, which end when they have long had nothing to
/// do. Any thread.
class ConcurrentQueue {
public:
    ConcurrentQueue() = default;
    ~ConcurrentQueue() = delete; // its threads use it to the end of the process
    ConcurrentQueue(const ConcurrentQueue&) = delete;
    ConcurrentQueue& operator=(const ConcurrentQueue&) = delete;

    void add(std::function<void()> operation);

private:
    bool startThread();
    void work();

    std::mutex mutex_;
    std::condition_variable added_;
    std::deque<std::function<void()>> operations_;
    std::size_t threads_ = 0;
    std::size_t idle_ = 0;
};

/// The one of this process, made on first use.
ConcurrentQueue& concurrentQueue();

} // namespace quorvane::platform::linux_
