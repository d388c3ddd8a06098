// The system's console log.
#pragma once

#include <string>

namespace quorvane::platform {

/// Any thread.
class ConsoleLog {
public:
    virtual ~ConsoleLog() = default;
    /// Writes one message, on one line and without control characters, whatever it holds.
    virtual void log(const std::string& message) = 0;
};

} // namespace quorvane::platform
