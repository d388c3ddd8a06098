#include "platform/linux/processes.h"

#include <csignal>
#include <mutex>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // which the header forgets in glibc 2.36
#include <sys/pidfd.h>
}

#include "platform/linux/pipe.h"
#include "platform/linux/reaper.h"

namespace quorvane::platform::linux_ {
namespace {

/// Status of a child that somebody else has reaped.
constexpr int kUnknownStatus = -1;

[[noreturn]] void fail(std::string reason) {
    throw Exception("ProcessException", std::move(reason));
}

[[noreturn]] void failWith(int code) { fail(systemError(code).text); }

/// A null-terminated array of C strings, as exec takes it.
class StringArray {
public:
    void add(std::string text) {
        if (text.find('\0') != std::string::npos) failWith(EINVAL);
        texts_.push_back(std::move(text));
    }
    /// Valid until the next `add`.
    char* const* pointers() {
        pointers_.clear();
        for (std::string& text : texts_) pointers_.push_back(text.data());
        pointers_.push_back(nullptr);
        return pointers_.data();
    }

private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
};

StringArray argumentArray(const LaunchDescription& description) {
    StringArray array;
    array.add(description.path);
    for (const std::string& argument : description.arguments) array.add(argument);
    return array;
}

StringArray environmentArray(const Environment& environment) {
    StringArray array;
    for (const auto& [name, value] : environment) array.add(std::string(name) + "=" + value);
    return array;
}

/// What the child does with its descriptors before it becomes the tool.
class FileActions {
public:
    FileActions() { check(posix_spawn_file_actions_init(&actions_)); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void connect(const StandardStream& stream, int target) {
        if (stream.kind == StandardStream::Kind::pipe)
            connectPipe(stream, target);
        else if (stream.kind == StandardStream::Kind::nullDevice || !canInherit(target))
            check(posix_spawn_file_actions_addopen(&actions_, target, "/dev/null", O_RDWR, 0));
    }
    void closeAllOthers() {
        check(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
    }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    static void check(int code) {
        if (code != 0) failWith(code);
    }

    /// A closed stream cannot be inherited, nor can a private file that took its number.
    static bool canInherit(int target) {
        const int flags = ::fcntl(target, F_GETFD);
        return flags != -1 && (flags & FD_CLOEXEC) == 0;
    }

    void connectPipe(const StandardStream& stream, int target) {
        const auto pipe = std::dynamic_pointer_cast<LinuxPipe>(stream.pipe);
        auto end = !pipe                    ? nullptr
                   : target == STDIN_FILENO ? pipe->readingEnd()
                                            : pipe->writingEnd();
        if (!end) failWith(EBADF);
        check(posix_spawn_file_actions_adddup2(&actions_, end->get(), target));
        ends_.push_back(std::move(end));
    }

    posix_spawn_file_actions_t actions_{};
    std::vector<std::shared_ptr<Descriptor>> ends_; // kept open until the child has them
};

/// The tool starts with no signal blocked and all of them doing what they do by default.
class SpawnAttributes {
public:
    SpawnAttributes() {
        if (const int code = posix_spawnattr_init(&attributes_); code != 0) failWith(code);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

pid_t spawn(const LaunchDescription& description) {
    FileActions actions;
    actions.connect(description.input, STDIN_FILENO);
    actions.connect(description.output, STDOUT_FILENO);
    actions.connect(description.error, STDERR_FILENO);
    actions.closeAllOthers();
    const SpawnAttributes attributes;

    StringArray arguments = argumentArray(description);
    StringArray environment = environmentArray(description.environment.value_or(Environment()));
    pid_t child = 0;
    const int code = posix_spawn(&child, description.path.c_str(), actions.get(), attributes.get(),
                                 arguments.pointers(),
                                 description.environment ? environment.pointers() : environ);
    if (code != 0) failWith(code);
    return child;
}

/// The child's process descriptor. A child that this process cannot hold is ended and reaped: it
/// could be neither waited for nor terminated.
Descriptor holdChild(pid_t child) {
    Descriptor held(::pidfd_open(child, 0));
    if (held) return held;
    const int code = errno;
    ::kill(child, SIGKILL);
    siginfo_t info{};
    retryInterrupted([&] { return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED); });
    failWith(code);
}

Descriptor start(const LaunchDescription& description) {
    // Out of descriptors, it fails here, before anything is started.
    Descriptor spare(::eventfd(0, EFD_CLOEXEC));
    if (!spare) failWith(errno);
    const pid_t child = spawn(description);
    spare.reset();
    return holdChild(child);
}

void closeWritingEnd(const StandardStream& stream) {
    if (const auto pipe = std::dynamic_pointer_cast<LinuxPipe>(stream.pipe)) pipe->closeWriting();
}

/// The parent's copies of what the child has now; also closed when there is no child, so that
/// nobody reads for ever.
class ChildEnds {
public:
    explicit ChildEnds(const LaunchDescription& description) : description_(description) {}
    ~ChildEnds() {
        closeWritingEnd(description_.output);
        closeWritingEnd(description_.error);
        if (description_.input.pipe) description_.input.pipe->closeReading();
    }
    ChildEnds(const ChildEnds&) = delete;
    ChildEnds& operator=(const ChildEnds&) = delete;

private:
    const LaunchDescription& description_;
};

class LinuxProcess : public Process {
public:
    LinuxProcess() = default;
    ~LinuxProcess() override;
    LinuxProcess(const LinuxProcess&) = delete;
    LinuxProcess& operator=(const LinuxProcess&) = delete;

    void launch(const LaunchDescription& description) override;
    Path launchPath() const override;
    bool isRunning() override;
    void waitUntilExit() override;
    int terminationStatus() override;
    void terminate() override;

private:
    enum class State { made, running, ended };

    void reapIfEnded();

    mutable std::mutex mutex_;
    Path path_;
    State state_ = State::made;
    /// While the child runs. Whoever polls it holds it open.
    std::shared_ptr<Descriptor> child_;
    int status_ = kUnknownStatus;
};

LinuxProcess::~LinuxProcess() {
    reapIfEnded();
    if (state_ == State::running) Reaper::shared().adopt(std::move(*child_));
}

void LinuxProcess::launch(const LaunchDescription& description) {
    const std::lock_guard lock(mutex_);
    if (!path_.empty()) fail("The process has been launched before");
    path_ = description.path;
    const ChildEnds childEnds(description);
    Reaper::shared();
    child_ = std::make_shared<Descriptor>(start(description));
    state_ = State::running;
}

Path LinuxProcess::launchPath() const {
    const std::lock_guard lock(mutex_);
    return path_;
}

bool LinuxProcess::isRunning() {
    const std::lock_guard lock(mutex_);
    reapIfEnded();
    return state_ == State::running;
}

void LinuxProcess::waitUntilExit() {
    std::shared_ptr<Descriptor> child;
    {
        const std::lock_guard lock(mutex_);
        child = child_;
    }
    if (!child) return;
    pollfd ended{child->get(), POLLIN, 0};
    retryInterrupted([&] { return ::poll(&ended, 1, -1); });
    const std::lock_guard lock(mutex_);
    reapIfEnded();
}

int LinuxProcess::terminationStatus() {
    const std::lock_guard lock(mutex_);
    reapIfEnded();
    if (state_ != State::ended) fail("The process has not ended");
    return status_;
}

void LinuxProcess::terminate() {
    const std::lock_guard lock(mutex_);
    reapIfEnded();
    if (state_ == State::running) ::pidfd_send_signal(child_->get(), SIGTERM, nullptr, 0);
}

void LinuxProcess::reapIfEnded() {
    if (state_ != State::running) return;
    siginfo_t info{};
    const int result = retryInterrupted([&] {
        return ::waitid(P_PIDFD, static_cast<id_t>(child_->get()), &info, WEXITED | WNOHANG);
    });
    if (result == 0 && info.si_pid == 0) return;
    // For a child ended by a signal, si_status is the signal's number.
    if (result == 0) status_ = info.si_status;
    state_ = State::ended;
    child_.reset();
}

class LinuxProcesses : public Processes {
public:
    std::shared_ptr<Process> makeProcess() override { return std::make_shared<LinuxProcess>(); }
    std::shared_ptr<Pipe> makePipe() override { return std::make_shared<LinuxPipe>(); }
};

void keepExitStatuses() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) return;
    action.sa_handler = SIG_DFL;
    ::sigaction(SIGCHLD, &action, nullptr);
}

} // namespace

std::shared_ptr<Processes> makeProcesses() {
    keepExitStatuses();
    return std::make_shared<LinuxProcesses>();
}

} // namespace quorvane::platform::linux_
