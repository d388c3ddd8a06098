// Code that no signal handler may interrupt.
#pragma once

#include <csignal>

namespace quorvane::platform::linux_ {

/// Blocks all signals in the calling thread for its life. Threads started meanwhile never handle
/// any, and leave the program's signals to the program's own threads.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

} // namespace quorvane::platform::linux_
