#include "platform/linux/console_log.h"

#include <array>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/linux/posix.h"
#include "tests/platform/linux/child_process.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using ::testing::EndsWith;
using ::testing::StartsWith;

/// As long as this lives, standard error is this descriptor.
class StandardErrorReplaced {
public:
    explicit StandardErrorReplaced(int replacement)
        : kept_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100)) {
        ::dup2(replacement, STDERR_FILENO);
    }
    ~StandardErrorReplaced() { ::dup2(kept_.get(), STDERR_FILENO); }
    StandardErrorReplaced(const StandardErrorReplaced&) = delete;
    StandardErrorReplaced& operator=(const StandardErrorReplaced&) = delete;

private:
    Descriptor kept_;
};

/// What is written to standard error while the action runs, and read through a pipe.
std::string writtenDuring(const std::function<void()>& action) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    std::string text;
    std::thread reader([&] {
        std::array<char, 4096> part{};
        for (ssize_t count = 0; (count = ::read(reading.get(), part.data(), part.size())) > 0;)
            text.append(part.data(), static_cast<std::size_t>(count));
    });
    {
        const StandardErrorReplaced replaced(writing.get());
        writing.reset();
        action();
    }
    reader.join();
    return text;
}

class ConsoleLogTest : public ::testing::Test {
protected:
    std::string written(const std::string& message) {
        return writtenDuring([&] { log_->log(message); });
    }

    const testing::TimeLimit timeLimit_;
    const std::shared_ptr<ConsoleLog> log_ = makeConsoleLog();
};

TEST_F(ConsoleLogTest, WritesOneLineToStandardError) {
    EXPECT_EQ(written("caf\xc3\xa9 \xff"), "caf\xc3\xa9 \xff\n");
    EXPECT_EQ(written(""), "\n");
}

TEST_F(ConsoleLogTest, KeepsAMessageWithNewlinesOnOneLine) {
    EXPECT_EQ(written("\none\n\ntwo\n"), " one  two \n");
}

TEST_F(ConsoleLogTest, WritesNoControlCharacters) {
    EXPECT_EQ(written("\x1b[31mred\x07\r\t\x7f|\x01"), " [31mred    | \n");
    EXPECT_EQ(written("\xc2\x9b"
                      "2J\xc2\x80|\xc2\xa0\xc3\x9b"),
              "  2J  |\xc2\xa0\xc3\x9b\n");
    EXPECT_EQ(written(std::string("a\0b", 3)), "a b\n");
    EXPECT_EQ(written("\xc2"), "\xc2\n");
}

TEST_F(ConsoleLogTest, TakesNoFormat) { EXPECT_EQ(written("%s%n%@ 100%"), "%s%n%@ 100%\n"); }

TEST_F(ConsoleLogTest, WritesVeryLongMessagesWhole) {
    const std::string message(3 << 20, 'x');
    EXPECT_EQ(written(message), message + "\n");
}

TEST_F(ConsoleLogTest, DoesNotMixTheLinesOfThreads) {
    const std::string message(1000, 'x');
    std::string expected;
    for (int count = 0; count < 200; ++count) expected += message + "\n";
    EXPECT_EQ(writtenDuring([&] {
                  std::vector<std::thread> threads;
                  threads.reserve(4);
                  for (int number = 0; number < 4; ++number)
                      threads.emplace_back([&] {
                          for (int count = 0; count < 50; ++count) log_->log(message);
                      });
                  for (std::thread& thread : threads) thread.join();
              }),
              expected);
}

TEST_F(ConsoleLogTest, GoesOnWithoutStandardError) {
    const Descriptor readOnly(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const StandardErrorReplaced replaced(readOnly.get());
    log_->log("nobody reads this");
}

TEST_F(ConsoleLogTest, SendsTheLineToTheSystemLog) {
    QV_NEEDS_SUPERUSER();
    testing::inPrivateMounts([] {
        testing::mountVolume("tmpfs", "/dev");
        const Descriptor receiver(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const sockaddr_un address{AF_UNIX, "/dev/log"};
        // NOLINTNEXTLINE(*-reinterpret-cast): that is how socket addresses are passed
        ASSERT_EQ(
            ::bind(receiver.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        makeConsoleLog()->log("100%s %n\ntwo");
        std::array<char, 1024> line{};
        const auto length = ::recv(receiver.get(), line.data(), line.size(), MSG_DONTWAIT);
        ASSERT_GT(length, 0);
        const std::string text(line.data(), static_cast<std::size_t>(length));
        EXPECT_THAT(text, StartsWith("<13>")); // a user's program, a notice
        EXPECT_THAT(text, EndsWith(": 100%s %n two"));
    });
}

} // namespace
} // namespace quorvane::platform::linux_
