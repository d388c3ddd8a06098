#include "platform/linux/privileged_helper/tool.h"

#include <fcntl.h>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

#include "platform/linux/pidfd.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr int kSignalBase = 128; // as shells tell signals from exit statuses

/// The tool's signals all do what they do by default, but that a reader of its output who has gone
/// does not end it half-way.
void setSignals(posix_spawnattr_t& attributes) {
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    sigdelset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

} // namespace

pid_t startTool(const char* tool, const char* option, const Place& operand, int output) {
    const int folder = operand.folder.get();
    const std::string path = "/proc/self/fd/" + std::to_string(folder) + "/" + operand.name;
    const std::array<const char*, 5> arguments{tool, option, "--", path.c_str(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // Onto itself: the child keeps it beyond exec.
    posix_spawn_file_actions_adddup2(&actions, folder, folder);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    setSignals(attributes);

    pid_t child = -1;
    // exec takes the arguments as variable and changes none.
    const int error = posix_spawn(&child, tool, &actions, &attributes,
                                  const_cast<char* const*>(arguments.data()), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error == 0) return child;
    errno = error;
    return -1;
}

pid_t startWork(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    ::close(STDIN_FILENO); // the client's socket is its parent's business
    ::_exit(work());
}

ToolStatus waitForTool(pid_t child, int milliseconds) {
    const Descriptor held(::pidfd_open(child, 0));
    if (held) {
        pollfd ended{held.get(), POLLIN, 0};
        retryInterrupted([&] { return ::poll(&ended, 1, milliseconds); });
    }
    siginfo_t info{};
    const int mode = milliseconds < 0 ? WEXITED : WEXITED | WNOHANG;
    const int result =
        retryInterrupted([&] { return ::waitid(P_PID, static_cast<id_t>(child), &info, mode); });
    if (result == -1 || info.si_pid == 0) return {};
    return {true, info.si_code == CLD_EXITED ? info.si_status : kSignalBase + info.si_status};
}

} // namespace quorvane::platform::linux_::helper
