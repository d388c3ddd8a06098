// Threads that nobody joins.
#pragma once

#include <functional>

namespace quorvane::platform {

/// Any thread.
class Queues {
public:
    virtual ~Queues() = default;
    /// Runs the operation on a new thread of its own, which ends with it.
    virtual void detachThread(std::function<void()> operation) = 0;
    /// Puts the calling thread to sleep.
    virtual void sleepFor(double seconds) = 0;
};

} // namespace quorvane::platform
