#include "platform/linux/interruption.h"

#include <atomic>
#include <csignal>

namespace quorvane::platform::linux_ {
namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may not wait");

extern "C" void interrupt(int /*signal*/) { interrupted.store(true, std::memory_order_relaxed); }

} // namespace

void watchForInterruption() {
    struct sigaction action {};
    action.sa_handler = interrupt;
    // What is being written then is still written.
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
    }
}

bool isInterrupted() { return interrupted.load(std::memory_order_relaxed); }

} // namespace quorvane::platform::linux_
