#include "platform/linux/authorization/socket_child.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/platform/linux/authorization/children.h"
#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/platform/linux/authorization/script.h"
#include "tests/platform/linux/child_process.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;
using testing::addScript;
using testing::eventually;
using testing::hasChildren;
using testing::kGrant;
using testing::kStay;
using testing::openDescriptors;

class SocketChildTest : public ::testing::Test {
protected:
    void TearDown() override { ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); } // for leak checkers

    /// Each child has a script of its own: an earlier one may not have read its whole yet.
    Result<SocketChild> start(const std::string& lines) {
        const std::string name = "child " + std::to_string(++children_);
        return SocketChild::start(addScript(scratch_, name, lines), {"one", "two words"},
                                  {{"A", "b c"}});
    }
    static std::string receive(int socket) {
        std::array<char, 4096> message{};
        const auto size = ::recv(socket, message.data(), message.size(), 0);
        return {message.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }
    static int errorOf(const Path& program, const Arguments& arguments = {}) {
        const auto child = SocketChild::start(program, arguments, {});
        return child ? 0 : child.error().code;
    }

    const testing::TimeLimit timeLimit_;
    const testing::ScratchFolder scratch_;
    int children_ = 0;
};

TEST_F(SocketChildTest, HasTheSocketAndNothingElseOfItsParents) {
    const Descriptor inheritable(::open("/dev/null", O_RDONLY)); // NOLINT(*-cloexec-*)
    const auto child = start("echo \"$*;$(readlink /proc/self/fd/1 /proc/self/fd/2);"
                             "$(ls /proc/self/fd | tr '\\n' ' ');$(env | grep A=)\" >&0\n");
    ASSERT_TRUE(child);
    // Of ls and readlink, 1 is a pipe and 3 the folder, and the shell has none of its own.
    const std::string said = receive(child.value().socket());
    EXPECT_EQ(said.substr(0, 14), "one two words;");
    EXPECT_NE(said.find("/dev/null;0 1 2 3 ;A=b c\n"), std::string::npos) << said;
}

TEST_F(SocketChildTest, IsStartedWhileStandardStreamsAreClosed) {
    const Descriptor input(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100));
    const Descriptor output(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 100));
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    {
        const auto child = start("echo out; echo in >&0\n");
        ASSERT_TRUE(child);
        EXPECT_GT(child.value().socket(), STDERR_FILENO);
        EXPECT_EQ(receive(child.value().socket()), "in\n");
    }
    ::dup2(input.get(), STDIN_FILENO);
    ::dup2(output.get(), STDOUT_FILENO);
}

TEST_F(SocketChildTest, EndsWithItsSocketAndLeavesNothingBehind) {
    ASSERT_TRUE(start("exit 0\n")); // the reaper's own descriptor
    ASSERT_TRUE(eventually([] { return !hasChildren(); }));
    const std::size_t before = openDescriptors();
    for (int count = 0; count < 20; ++count) {
        ASSERT_TRUE(start(kStay));
        ASSERT_TRUE(start("exit 1\n"));
        auto taken = start(kStay);
        const Descriptor socket = taken.value().releaseSocket();
    }
    EXPECT_TRUE(eventually([] { return !hasChildren(); }));
    EXPECT_TRUE(eventually([&] { return openDescriptors() == before; }));
}

TEST_F(SocketChildTest, IsNotClosedBySocketsOfOtherChildren) {
    const auto first = start(kGrant + kStay);
    auto second = start(kGrant + kStay); // without the first one's socket
    EXPECT_EQ(receive(second.value().socket()).size(), 12U);
    EXPECT_EQ(receive(first.value().socket()).size(), 12U);
}

TEST_F(SocketChildTest, TellsWhyItCannotBeStarted) {
    EXPECT_EQ(errorOf(scratch_ / "missing"), ENOENT);
    EXPECT_EQ(errorOf(scratch_.addFile("plain")), EACCES);
    EXPECT_EQ(errorOf("/bin/true", {std::string("a\0b", 3)}), EINVAL);
    EXPECT_FALSE(hasChildren());
}

TEST_F(SocketChildTest, CanBeEnded) {
    auto child = start("trap '' TERM; exec sleep 1000\n");
    ASSERT_TRUE(child);
    child.value().kill();
    EXPECT_EQ(child.value().waitForExit(1min), std::nullopt);
    EXPECT_FALSE(hasChildren());
}

TEST_F(SocketChildTest, IsWaitedForUpToALimit) {
    auto child = start(kStay + "exit 3");
    EXPECT_EQ(child.value().waitForExit(1ms), std::nullopt);
    child.value().releaseSocket();
    EXPECT_EQ(child.value().waitForExit(1min), 0);
}

TEST_F(SocketChildTest, ShieldsTheProcess) {
    ASSERT_EQ(::prctl(PR_GET_DUMPABLE), 1);
    ASSERT_TRUE(start("exit 0\n"));
    EXPECT_EQ(::prctl(PR_GET_DUMPABLE), 0);
}

TEST_F(SocketChildTest, IsOutOfReachWhereItsProgramCannotBeRead) {
    QV_NEEDS_SUPERUSER();
    const Path program = scratch_ / "program";
    std::filesystem::copy_file("/bin/cat", program);
    ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
    testing::asOrdinaryUser(scratch_.path(), [&] {
        const auto child = SocketChild::start(program, {}, {});
        ASSERT_TRUE(child);
        // At first it is still shielded as its parent is.
        EXPECT_TRUE(eventually([&] { return !child.value().isOutOfReach(); }));
    });
    ASSERT_EQ(::chmod(program.c_str(), 0711), 0);
    testing::asOrdinaryUser(scratch_.path(), [&] {
        const auto child = SocketChild::start(program, {}, {});
        ASSERT_TRUE(child);
        for (int look = 0; look < 100; ++look) {
            EXPECT_TRUE(child.value().isOutOfReach());
            std::this_thread::sleep_for(1ms);
        }
    });
}

/// Another process that traces a thread of this one, until it goes.
class Tracer {
public:
    explicit Tracer(pid_t thread) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        const Descriptor reading(ends[0]);
        const Descriptor writing(ends[1]);
        process_ = ::fork();
        if (process_ == 0) trace(thread, writing.get());
        EXPECT_EQ(::read(reading.get(), &isAttached_, 1), 1);
    }
    ~Tracer() {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
    Tracer(const Tracer&) = delete;
    Tracer& operator=(const Tracer&) = delete;

    bool isAttached() const { return isAttached_ == 1; }

private:
    [[noreturn]] static void trace(pid_t thread, int attached) {
        const char succeeded = ::ptrace(PTRACE_SEIZE, thread, nullptr, nullptr) == 0 ? 1 : 0;
        ignore(::write(attached, &succeeded, 1));
        // Passes on every signal for which the other process stops.
        for (int status = 0; ::waitpid(thread, &status, __WALL) == thread;)
            if (WIFSTOPPED(status)) ::ptrace(PTRACE_CONT, thread, nullptr, WSTOPSIG(status));
        while (true) ::pause();
    }

    pid_t process_ = -1;
    char isAttached_ = 0;
};

TEST_F(SocketChildTest, IsNotStartedUnderTheEyesOfAnother) {
    {
        const Tracer tracer(::getpid());
        if (!tracer.isAttached()) GTEST_SKIP() << "may not trace";
        EXPECT_EQ(errorOf("/bin/true"), EPERM);
    }
    EXPECT_EQ(errorOf("/bin/true"), 0);
}

TEST_F(SocketChildTest, IsNotStartedWhileAnotherTracesASingleThread) {
    std::atomic<pid_t> thread = 0;
    std::atomic<bool> isOver = false;
    std::thread traced([&] {
        thread = ::gettid();
        thread.notify_all();
        isOver.wait(false);
    });
    thread.wait(0);
    {
        const Tracer tracer(thread);
        EXPECT_EQ(errorOf("/bin/true"), tracer.isAttached() ? EPERM : 0);
    }
    isOver = true;
    isOver.notify_all();
    traced.join();
    EXPECT_EQ(errorOf("/bin/true"), 0);
}

} // namespace
} // namespace quorvane::platform::linux_
