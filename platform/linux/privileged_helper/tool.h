// Tools as child processes.
#pragma once

#include <sys/types.h>

#include <functional>

#include "platform/linux/privileged_helper/place.h"

namespace quorvane::platform::linux_::helper {

/// Starts a tool with an option on an operand that it reaches through the folder held open for it,
/// with its output going to the descriptor. It has nothing else of this process. -1 with errno set
/// when it cannot.
pid_t startTool(const char* tool, const char* option, const Place& operand, int output);

/// Starts work of the helper's own in a child process, which ends with the exit status that the
/// work returns. -1 with errno set when it cannot.
pid_t startWork(const std::function<int()>& work);

struct ToolStatus {
    bool ended = false;
    int value = 0; ///< the exit status, or 128 and the signal's number
};

/// Waits for a child to end, at most so many milliseconds; -1: until it does. One that has not
/// ended is left to run.
ToolStatus waitForTool(pid_t child, int milliseconds);

} // namespace quorvane::platform::linux_::helper
