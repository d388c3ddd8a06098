#include "platform/linux/processes.h"

#include <csignal>
#include <mutex>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/pidfd.h"
#include "platform/linux/pipe.h"
#include "platform/linux/reaper.h"
#include "platform/linux/spawn.h"

namespace quorvane::platform::linux_ {
namespace {

/// Status of a child that somebody else has reaped.
constexpr int kUnknownStatus = -1;

[[noreturn]] void fail(std::string reason) {
    throw Exception("ProcessException", std::move(reason));
}

[[noreturn]] void failWith(const Error& error) { fail(error.text); }

/// A closed stream cannot be inherited, nor can a private file that took its number.
bool canInherit(int stream) {
    const int flags = ::fcntl(stream, F_GETFD);
    return flags != -1 && (flags & FD_CLOEXEC) == 0;
}

/// The ends that the child gets, kept open until it has them.
class ChildStreams {
public:
    explicit ChildStreams(const LaunchDescription& description)
        : descriptors_{connect(description.input, STDIN_FILENO),
                       connect(description.output, STDOUT_FILENO),
                       connect(description.error, STDERR_FILENO)} {}

    const StandardDescriptors& descriptors() const { return descriptors_; }

private:
    int connect(const StandardStream& stream, int target) {
        if (stream.kind == StandardStream::Kind::pipe) return connectPipe(stream, target);
        const bool inherits = stream.kind == StandardStream::Kind::inherited && canInherit(target);
        return inherits ? target : kNullDevice;
    }

    int connectPipe(const StandardStream& stream, int target) {
        const auto pipe = std::dynamic_pointer_cast<LinuxPipe>(stream.pipe);
        auto end = !pipe                    ? nullptr
                   : target == STDIN_FILENO ? pipe->readingEnd()
                                            : pipe->writingEnd();
        if (!end) failWith(systemError(EBADF));
        return ends_.emplace_back(std::move(end))->get();
    }

    std::vector<std::shared_ptr<Descriptor>> ends_;
    StandardDescriptors descriptors_; // after the ends, which are filled along with it
};

Descriptor start(const Path& program, const LaunchDescription& description) {
    const ChildStreams streams(description);
    auto child =
        spawn(program, description.arguments, description.environment, streams.descriptors());
    if (!child) failWith(child.error());
    return std::move(child.value());
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
    explicit LinuxProcess(std::shared_ptr<Tools> tools) : tools_(std::move(tools)) {}
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

    const std::shared_ptr<Tools> tools_;
    mutable std::mutex mutex_;
    Path path_;
    State state_ = State::made;
    /// While the child runs. Whoever waits for it holds it open.
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
    child_ = std::make_shared<Descriptor>(start(tools_->locate(path_), description));
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
    // Several may wait, and the status is for whoever takes the lock first.
    siginfo_t info{};
    retryInterrupted([&] {
        return ::waitid(P_PIDFD, static_cast<id_t>(child->get()), &info, WEXITED | WNOWAIT);
    });
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
    explicit LinuxProcesses(std::shared_ptr<Tools> tools) : tools_(std::move(tools)) {}

    std::shared_ptr<Process> makeProcess() override {
        return std::make_shared<LinuxProcess>(tools_);
    }
    std::shared_ptr<Pipe> makePipe() override { return std::make_shared<LinuxPipe>(); }

private:
    const std::shared_ptr<Tools> tools_;
};

void keepExitStatuses() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) return;
    action.sa_handler = SIG_DFL;
    ::sigaction(SIGCHLD, &action, nullptr);
}

} // namespace

std::shared_ptr<Processes> makeProcesses(std::shared_ptr<Tools> tools) {
    keepExitStatuses();
    return std::make_shared<LinuxProcesses>(std::move(tools));
}

} // namespace quorvane::platform::linux_
