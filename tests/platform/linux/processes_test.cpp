#include "platform/linux/processes.h"

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/posix.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;

class LinuxProcessesTest : public ::testing::Test {
protected:
    static LaunchDescription description(const Path& path, const Arguments& arguments) {
        return {.path = path,
                .arguments = arguments,
                .environment = {},
                .input = StandardStream::null(),
                .output = StandardStream::null(),
                .error = StandardStream::null()};
    }

    std::shared_ptr<Process> launch(const LaunchDescription& description) const {
        auto process = processes_->makeProcess();
        process->launch(description);
        return process;
    }

    static std::string readToEnd(Pipe& pipe) {
        std::string text;
        for (Bytes chunk = pipe.availableData(); !chunk.empty(); chunk = pipe.availableData())
            text += chunk;
        return text;
    }

    /// Everything that the tool prints; its input is as described.
    std::string outputOf(LaunchDescription description) const {
        const auto output = processes_->makePipe();
        description.output = StandardStream::to(output);
        const auto process = launch(description);
        std::string text = readToEnd(*output);
        process->waitUntilExit();
        return text;
    }

    std::string outputOf(const Path& path, const Arguments& arguments) const {
        return outputOf(description(path, arguments));
    }

    std::string launchFailure(const Path& path, const Arguments& arguments = {}) const {
        try {
            launch(description(path, arguments));
        } catch (const Exception& exception) {
            return exception.reason();
        }
        return "launched";
    }

    int statusOf(const Path& path, const Arguments& arguments) const {
        const auto process = launch(description(path, arguments));
        process->waitUntilExit();
        return process->terminationStatus();
    }

    const testing::TimeLimit timeLimit_; // reads and waits for children have no limit of their own
    std::shared_ptr<Processes> processes_ = makeProcesses();
};

using testing::eventually;

/// Whether this process has a child, running or not yet reaped.
bool hasChildren() {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

bool noChildIsLeft() {
    return eventually([] { return !hasChildren(); });
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

/// A line of signals, such as "SigIgn", in the text of /proc/PID/status.
std::uint64_t signalSet(const std::string& status, const std::string& line) {
    const std::size_t start = status.find("\n" + line + ":\t");
    return start == std::string::npos
               ? ~std::uint64_t{0}
               : std::stoull(status.substr(start + line.size() + 3), nullptr, 16);
}

/// A standard stream of this process stands closed, or holds another file, as long as this lives.
class StandardStreamReplaced {
public:
    explicit StandardStreamReplaced(int stream, int replacement = -1)
        : stream_(stream), kept_(::fcntl(stream, F_DUPFD_CLOEXEC, 100)) {
        ::close(stream);
        if (replacement >= 0) ::dup3(replacement, stream, O_CLOEXEC);
    }
    ~StandardStreamReplaced() { ::dup2(kept_.get(), stream_); }
    StandardStreamReplaced(const StandardStreamReplaced&) = delete;
    StandardStreamReplaced& operator=(const StandardStreamReplaced&) = delete;

private:
    int stream_;
    Descriptor kept_;
};

/// As long as this lives, all signals are blocked in this thread, and some of them ignored.
class SignalsOff {
public:
    SignalsOff() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &mask_);
        for (std::size_t index = 0; index < kIgnored.size(); ++index)
            handlers_.at(index) = ::signal(kIgnored.at(index), SIG_IGN); // NOLINT(*-int-to-ptr)
    }
    ~SignalsOff() {
        for (std::size_t index = 0; index < kIgnored.size(); ++index)
            ::signal(kIgnored.at(index), handlers_.at(index));
        pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
    }
    SignalsOff(const SignalsOff&) = delete;
    SignalsOff& operator=(const SignalsOff&) = delete;

private:
    static constexpr std::array kIgnored{SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGUSR1, SIGUSR2};

    sigset_t mask_{};
    std::array<void (*)(int), kIgnored.size()> handlers_{};
};

TEST_F(LinuxProcessesTest, GivesTheChildItsThreeStreamsAndNoOtherDescriptor) {
    const Descriptor inheritable(::open("/dev/null", O_RDONLY)); // NOLINT(*-cloexec-*)
    const Descriptor high(::fcntl(inheritable.get(), F_DUPFD, 900));
    ASSERT_TRUE(high);
    // 3 is the folder that ls itself reads.
    EXPECT_EQ(outputOf("/bin/ls", {"/proc/self/fd"}), "0\n1\n2\n3\n");
}

TEST_F(LinuxProcessesTest, StartsTheChildWithDefaultSignals) {
    const SignalsOff signalsOff;
    const std::string status = outputOf("/bin/cat", {"/proc/self/status"});
    EXPECT_EQ(signalSet(status, "SigBlk"), 0);
    EXPECT_EQ(signalSet(status, "SigIgn"), 0);
    EXPECT_EQ(signalSet(status, "SigCgt"), 0);
}

TEST_F(LinuxProcessesTest, MakesTheGivenEnvironmentTheChildsWhole) {
    auto described = description("/usr/bin/env", {"-0"});
    described.environment = Environment{{"B", "two words\n"}, {"A", ""}};
    EXPECT_EQ(outputOf(described), std::string("A=\0B=two words\n\0", 16));
    described.environment = Environment{};
    EXPECT_EQ(outputOf(described), "");
}

TEST_F(LinuxProcessesTest, LetsTheChildInheritTheEnvironment) {
    ASSERT_EQ(::setenv("QV_TEST_VARIABLE", "inherited", 1), 0);
    EXPECT_EQ(outputOf("/bin/sh", {"-c", "echo $QV_TEST_VARIABLE"}), "inherited\n");
}

TEST_F(LinuxProcessesTest, PassesArgumentsAsTheyAre) {
    EXPECT_EQ(outputOf("/usr/bin/printf", {"<%s>", "", "two words", "a\nb", "$HOME *", "\xff"}),
              "<><two words><a\nb><$HOME *><\xff>");
}

TEST_F(LinuxProcessesTest, LaunchesWhileStandardStreamsAreClosed) {
    const StandardStreamReplaced input(STDIN_FILENO);
    const StandardStreamReplaced output(STDOUT_FILENO);
    auto described =
        description("/bin/sh", {"-c", "cat; echo out; echo err >&2; ls /proc/self/fd"});
    described.input = StandardStream::inherit();
    const auto out = processes_->makePipe();
    const auto err = processes_->makePipe();
    described.output = StandardStream::to(out);
    described.error = StandardStream::to(err);
    const auto process = launch(described);
    EXPECT_EQ(readToEnd(*out), "out\n0\n1\n2\n3\n");
    EXPECT_EQ(readToEnd(*err), "err\n");
    process->waitUntilExit();
}

TEST_F(LinuxProcessesTest, OpensTheNullDeviceForAClosedInheritedStream) {
    const StandardStreamReplaced output(STDOUT_FILENO);
    auto described = description("/bin/sh", {"-c", "echo out && test -c /proc/self/fd/1"});
    described.output = StandardStream::inherit();
    const auto process = launch(described);
    process->waitUntilExit();
    EXPECT_EQ(process->terminationStatus(), 0);
}

TEST_F(LinuxProcessesTest, KeepsAPrivateFileThatTookAStandardStreamsPlace) {
    const Descriptor file(::open("/etc/passwd", O_RDONLY | O_CLOEXEC));
    const StandardStreamReplaced input(STDIN_FILENO, file.get());
    auto described = description("/bin/cat", {});
    described.input = StandardStream::inherit();
    EXPECT_EQ(outputOf(described), "");
}

TEST_F(LinuxProcessesTest, FeedsNothingThroughAnInputPipeAndClosesItWithThePipe) {
    auto input = processes_->makePipe();
    auto described = description("/bin/cat", {});
    described.input = StandardStream::to(input);
    const auto process = launch(described);
    EXPECT_TRUE(process->isRunning());
    described.input = {};
    input.reset();
    process->waitUntilExit();
    EXPECT_EQ(process->terminationStatus(), 0);
}

TEST_F(LinuxProcessesTest, TellsAFailedExecutionFromAnExitStatus) {
    const testing::ScratchFolder folder;
    const Path text = folder.addFile("text", "no program\n");
    const Path orphan = folder.addFile("orphan", "#!/no/such/interpreter\n");
    const Path plain = folder.addFile("plain", "#!/bin/sh\n");
    for (const Path& file : {text, orphan})
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    EXPECT_EQ(launchFailure(text), "Exec format error");
    EXPECT_EQ(launchFailure(orphan), "No such file or directory");
    EXPECT_EQ(launchFailure(plain), "Permission denied");
    EXPECT_EQ(launchFailure("/usr"), "Permission denied");
    EXPECT_EQ(launchFailure("/etc/passwd/below"), "Not a directory");
    EXPECT_EQ(launchFailure(""), "No such file or directory");
    EXPECT_EQ(launchFailure("true"), "No such file or directory");
    EXPECT_EQ(launchFailure("/bin/true", {std::string("a\0b", 3)}), "Invalid argument");
    EXPECT_EQ(launchFailure("/bin/true", {std::string(1 << 20, 'x')}), "Argument list too long");
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(statusOf("/bin/sh", {"-c", "exit 127"}), 127);
    EXPECT_EQ(statusOf("/bin/sh", {"-c", "kill -KILL $$"}), SIGKILL);
}

TEST_F(LinuxProcessesTest, ReadsLargeOutputWhole) {
    constexpr std::size_t kSize = 8 << 20;
    EXPECT_EQ(outputOf("/usr/bin/head", {"-c", std::to_string(kSize), "/dev/zero"}),
              std::string(kSize, '\0'));
}

TEST_F(LinuxProcessesTest, ReadsOnAfterASignal) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    auto described = description("/bin/sh", {"-c", "read line; echo got"});
    auto input = processes_->makePipe();
    const auto output = processes_->makePipe();
    described.input = StandardStream::to(input);
    described.output = StandardStream::to(output);
    const auto process = launch(described);
    std::string text;
    std::thread reader([&] { text = output->availableData(); });
    for (int count = 0; count < 20; ++count) {
        pthread_kill(reader.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(1ms);
    }
    described.input = {};
    input.reset();
    reader.join();
    EXPECT_EQ(text, "got\n");
    process->waitUntilExit();
}

/// Whether a thread of this process sleeps in the kernel.
bool isAsleep(pid_t thread) {
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(stat, text);
    const std::size_t name = text.rfind(") ");
    return name != std::string::npos && text.at(name + 2) == 'S';
}

TEST_F(LinuxProcessesTest, ClosingTheReadingEndEndsAReadThatWaits) {
    const auto output = processes_->makePipe(); // whose writing end stays open
    std::atomic<pid_t> thread = 0;
    std::string read = "nothing yet";
    std::thread reader([&] {
        thread = ::gettid();
        read = output->availableData();
    });
    EXPECT_TRUE(eventually([&] { return thread != 0 && isAsleep(thread); }));
    output->closeReading();
    reader.join();
    EXPECT_EQ(read, "");
}

TEST_F(LinuxProcessesTest, HoldsNoMoreErrorTextThanASmallPipeBeforeItIsRead) {
    auto described =
        description("/bin/sh", {"-c", "head -c 1000000 /dev/zero; head -c 100000 /dev/zero >&2"});
    const auto output = processes_->makePipe();
    const auto error = processes_->makePipe();
    described.output = StandardStream::to(output);
    described.error = StandardStream::to(error);
    const auto process = launch(described);
    std::string text;
    while (text.size() < 1000000) text += output->availableData();
    std::this_thread::sleep_for(50ms);
    EXPECT_TRUE(process->isRunning()); // it waits until someone reads
    EXPECT_EQ(readToEnd(*error).size(), 100000U);
    process->waitUntilExit();
}

TEST_F(LinuxProcessesTest, LeavesNoZombieAndNoDescriptorBehind) {
    statusOf("/bin/true", {}); // the service's own descriptor
    const std::size_t before = openDescriptors();
    for (int run = 0; run < 100; ++run) {
        EXPECT_EQ(statusOf("/bin/true", {}), 0);
        EXPECT_EQ(outputOf("/bin/echo", {"x"}), "x\n");
        EXPECT_EQ(launchFailure("/no/such/tool"), "No such file or directory");
        launch(description("/bin/true", {}));
        launch(description("/bin/sleep", {"1000"}))->terminate();
    }
    EXPECT_TRUE(noChildIsLeft());
    EXPECT_TRUE(eventually([&] { return openDescriptors() == before; })) << openDescriptors();
}

TEST_F(LinuxProcessesTest, LetsAnAbandonedChildRunAndReapsIt) {
    auto described = description("/bin/sh", {"-c", "read line; echo ended"});
    auto input = processes_->makePipe();
    const auto output = processes_->makePipe();
    described.input = StandardStream::to(input);
    described.output = StandardStream::to(output);
    launch(described);
    EXPECT_TRUE(hasChildren());
    described.input = {};
    input.reset();
    EXPECT_EQ(readToEnd(*output), "ended\n");
    EXPECT_TRUE(noChildIsLeft());
}

TEST_F(LinuxProcessesTest, ClosesNothingElseAfterAnAbandonedChild) {
    statusOf("/bin/true", {});
    const std::size_t before = openDescriptors();
    auto abandoned = launch(description("/bin/sleep", {"1000"}));
    // Another child holds copies of all descriptors, as every new one does for a moment.
    const pid_t holder = ::fork();
    ASSERT_NE(holder, -1);
    if (holder == 0)
        while (true) ::pause();
    abandoned->terminate();
    abandoned.reset();
    EXPECT_TRUE(eventually([&] { return openDescriptors() == before; }));

    std::vector<Descriptor> others(16);
    for (Descriptor& other : others) other = Descriptor(::eventfd(0, EFD_CLOEXEC));
    launch(description("/bin/true", {})); // until it is reaped, the reaper has looked around
    EXPECT_TRUE(eventually([&] { return openDescriptors() <= before + others.size(); }));
    for (const Descriptor& other : others) EXPECT_NE(::fcntl(other.get(), F_GETFD), -1);
    ::kill(holder, SIGKILL);
    EXPECT_EQ(::waitpid(holder, nullptr, 0), holder);
    EXPECT_TRUE(noChildIsLeft());
}

TEST_F(LinuxProcessesTest, KeepsTheLaunchesOfOtherThreadsOutOfAChild) {
    // A sleeper that had inherited another thread's pipe would keep that pipe from ending.
    std::atomic<int> right = 0;
    constexpr int kThreads = 16;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number)
        threads.emplace_back([&, text = std::to_string(number)] {
            for (int round = 0; round < 4; ++round) {
                const auto sleeper = launch(description("/bin/sleep", {"1000"}));
                if (outputOf("/bin/echo", {text}) == text + "\n" && sleeper->isRunning()) ++right;
                sleeper->terminate();
                sleeper->waitUntilExit();
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, 4 * kThreads);
    EXPECT_FALSE(hasChildren());
}

TEST_F(LinuxProcessesTest, KeepsExitStatusesWhereTheProgramWasStartedIgnoringThem) {
    ASSERT_NE(::signal(SIGCHLD, SIG_IGN), SIG_ERR); // NOLINT(performance-no-int-to-ptr)
    processes_ = makeProcesses();
    EXPECT_EQ(statusOf("/bin/sh", {"-c", "exit 3"}), 3);
}

TEST_F(LinuxProcessesTest, FailsCleanlyWithoutDescriptors) {
#if defined(__clang__)
#if __has_feature(undefined_behavior_sanitizer)
    GTEST_SKIP() << "the sanitizer's own checks of objects need descriptors";
#endif
#endif
    statusOf("/bin/true", {});
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{3, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(launchFailure("/bin/true"), "Too many open files");
    EXPECT_THROW(processes_->makePipe(), Exception);
    EXPECT_FALSE(hasChildren());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(statusOf("/bin/true", {}), 0);
}

} // namespace
} // namespace quorvane::platform::linux_
