#include "platform/linux/privileged_helper/tool.h"

#include <fcntl.h>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>

#include "platform/linux/pidfd.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr std::size_t kMaximumOperands = 2;
constexpr int kSignalBase = 128; // as shells tell signals from exit statuses

/// Arguments as exec takes them; operands lead through the open folders.
class ArgumentList {
public:
    explicit ArgumentList(const char* tool) { add(tool); }
    void add(const char* text) {
        // exec takes them as variable and changes none.
        if (text != nullptr) texts_.at(count_++) = const_cast<char*>(text);
    }
    void addOperand(const Place& place) {
        auto& path = paths_.at(operandCount_++);
        std::snprintf(path.data(), path.size(), "/proc/self/fd/%d/%s", place.folder.get(),
                      place.name);
        add(path.data());
    }
    char* const* get() { return texts_.data(); }

private:
    std::array<char*, 8> texts_{};
    std::size_t count_ = 0;
    std::array<std::array<char, NAME_MAX + 32>, kMaximumOperands> paths_{};
    std::size_t operandCount_ = 0;
};

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

pid_t startTool(const char* tool, const std::array<const char*, 2>& options,
                std::initializer_list<const Place*> operands, int output) {
    ArgumentList arguments(tool);
    for (const char* option : options) arguments.add(option);
    arguments.add("--");

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    for (const Place* place : operands) {
        arguments.addOperand(*place);
        // Onto itself: the child keeps it beyond exec.
        posix_spawn_file_actions_adddup2(&actions, place->folder.get(), place->folder.get());
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    setSignals(attributes);

    pid_t child = -1;
    const int error = posix_spawn(&child, tool, &actions, &attributes, arguments.get(), environ);
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
