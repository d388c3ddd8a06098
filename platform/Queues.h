// Threads that nobody joins, and the time that passes for them.
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
    /// Puts the calling thread to sleep.
    virtual void sleepFor(double seconds) = 0;
    /// Seconds on a clock that never goes back and goes on while threads sleep.
    virtual double uptime() = 0;
};

} // namespace quorvane::platform
