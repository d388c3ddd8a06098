// The children of the test's own process.
#pragma once

#include <sys/wait.h>

namespace quorvane::testing {

/// Whether this process has a child, running or not yet reaped.
inline bool hasChildren() {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

} // namespace quorvane::testing
