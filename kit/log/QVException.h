// What every operation of the kit does with a platform exception that it caught.
#pragma once

#include <string>

#include "platform/Values.h"

namespace quorvane {

/// Class operations without state; any thread.
class QVException {
public:
    QVException() = delete;

    /// `logException:forMethod:`: logs and prints "Exception in METHOD. NAME - REASON." and answers
    /// that text. It goes through the log as a format: a "%@" in it reads "(null)" there.
    static std::string logException(const platform::Exception& exception, const char* method);
    /// `didTimeout:`: whether a connection's time-out raised the exception.
    static bool didTimeout(const platform::Exception& exception);
};

} // namespace quorvane
