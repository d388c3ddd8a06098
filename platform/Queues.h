// Threads that nobody joins, the queue that they share, and the time that passes for them.
#pragma once

#include <functional>

#include "platform/Values.h"

namespace quorvane::platform {

/// Any thread.
class Queues {
public:
    virtual ~Queues() = default;
    /// Runs the operation on a new thread of its own, which ends with it. Throws Exception with the
    /// system's reason when no thread can be started.
    virtual void detachThread(std::function<void()> operation) = 0;
    /// Puts the operation on the process's concurrent queue and returns at once. The operations
    /// begin in the order of the calls and run side by side, on threads that the queue keeps for a
    /// while; when very many run already, and while no thread can be started, the rest wait their
    /// turn. Never throws.
    virtual void dispatchAsync(std::function<void()> operation) = 0;
    /// Puts the calling thread to sleep.
    virtual void sleepFor(double seconds) = 0;
    /// Seconds on a clock that never goes back and goes on while threads sleep.
    virtual double uptime() = 0;
};

} // namespace quorvane::platform
