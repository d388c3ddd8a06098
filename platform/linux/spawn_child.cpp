// Built without sanitizers: their checks would change the waiting parent's state, or call its
// handlers in the child.

#include "platform/linux/spawn_child.h"

#include <csignal>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quorvane::platform::linux_ {
namespace {

/// Size of the kernel's set of signals, in bytes.
constexpr long kSignalSetSize = 8;
constexpr int kSignals = 64;
/// Zeros for the kernel's structure of a signal's default action, whose size depends on the
/// processor, and for its empty set of signals.
constexpr unsigned long kZeros[8] = {};

/// exec itself gives signals with handlers their default action, but leaves ignored ones ignored.
void resetSignals() {
    for (int number = 1; number <= kSignals; ++number)
        ::syscall(SYS_rt_sigaction, number, kZeros, nullptr, kSignalSetSize);
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, kZeros, nullptr, kSignalSetSize);
}

/// Puts a stream in its place; false, with errno, when that fails.
bool connect(int source, int target) {
    if (source == target) return ::syscall(SYS_fcntl, target, F_SETFD, 0) == 0;
    if (source == kNullDevice) {
        const long device = ::syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR, 0);
        if (device < 0 || device == target) return device == target;
        source = static_cast<int>(device);
    }
    return ::syscall(SYS_dup3, source, target, 0) == target;
}

bool connectStreams(const StandardDescriptors& streams) {
    int target = 0;
    for (const int source : streams)
        if (!connect(source, target++)) return false;
    return ::syscall(SYS_close_range, target, ~0U, 0) == 0;
}

} // namespace

int becomeTool(void* plan) {
    auto& child = *static_cast<ChildPlan*>(plan);
    resetSignals();
    if (connectStreams(child.streams)) ::execve(child.path, child.arguments, child.environment);
    child.error = errno;
    return 1;
}

} // namespace quorvane::platform::linux_
