#include "platform/linux/tools/ditto/interruption.h"

#include <csignal>

#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void interrupt(int /*signal*/) { interrupted = 1; }

} // namespace

void watchForInterruption() {
    struct sigaction action {};
    action.sa_handler = interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
    }
}

void throwIfInterrupted() {
    if (interrupted != 0) throw Failure("interrupted");
}

} // namespace quorvane::platform::linux_::tools::ditto
