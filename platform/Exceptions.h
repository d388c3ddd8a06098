// The process-wide handler of exceptions that nobody caught.
#pragma once

#include <functional>

#include "platform/Values.h"

namespace quorvane::platform {

/// Any thread.
class Exceptions {
public:
    virtual ~Exceptions() = default;
    /// Replaces the handler. It runs on the thread that raised the exception, just before the
    /// process ends; an exception of another type arrives with its type as the name and its text as
    /// the reason.
    virtual void setUncaughtExceptionHandler(std::function<void(const Exception&)> handler) = 0;
};

} // namespace quorvane::platform
