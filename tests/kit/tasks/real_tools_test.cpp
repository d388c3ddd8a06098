// Runs of the system's own tools, on its own processes, threads and clock.
#include "tests/kit/tasks/real_tools.h"

#include <chrono>
#include <string>

#include <gmock/gmock.h>

#include "kit/tasks/QVTaskEx.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StrEq;

constexpr const char* kSleep = "/bin/sleep";
constexpr const char* kSleepTimedOut = "Task /bin/sleep timed out. Terminating...\n";
constexpr int kTerminateSignal = 15;

std::chrono::steady_clock::time_point now() { return std::chrono::steady_clock::now(); }

TEST_F(RealTools, TimedDataFormEndsAToolThatHangs) {
    const auto start = now();
    std::optional<Bytes> data;
    const std::string printed =
        printedBy([&] { data = QVTaskEx::dataFromTask(kSleep, {"30"}, TaskTimeout(1)); });
    EXPECT_GE(now() - start, 1s);
    EXPECT_LT(now() - start, 25s);
    EXPECT_EQ(data, Bytes());
    EXPECT_THAT(printed, StrEq(kSleepTimedOut));
    EXPECT_THAT(log(), HasSubstr(kSleepTimedOut));
}

TEST_F(RealTools, ExitStatusOfAToolThatTimedOutIsTheSignal) {
    int code = 0;
    const std::string printed = printedBy(
        [&] { code = QVTaskEx::terminationCodeFromTask(kSleep, {"30"}, TaskTimeout(1)); });
    EXPECT_EQ(code, kTerminateSignal);
    EXPECT_THAT(printed, StrEq(kSleepTimedOut));
}

TEST_F(RealTools, ToolThatFillsItsErrorPipeBlocksUntilTheTimeout) {
    std::optional<Bytes> data;
    const std::string printed = printedBy([&] {
        // Descriptor 3 keeps standard output open.
        data = QVTaskEx::dataFromTask("/bin/sh", {"-c", "exec head -c 1000000 /dev/zero 3>&1 >&2"},
                                      TaskTimeout(1));
    });
    EXPECT_THAT(printed, StrEq("Task /bin/sh timed out. Terminating...\n"));
    ASSERT_TRUE(data);
    EXPECT_GT(data->size(), 0U);
    EXPECT_LT(data->size(), 1000000U);
}

TEST_F(RealTools, ToolMayFillItsErrorPipeWhenNothingElseIsCaptured) {
    const auto data =
        QVTaskEx::dataFromTask("/bin/sh", {"-c", "exec head -c 1000000 /dev/zero >&2"}, nullptr,
                               std::nullopt, LogOutput::no, LogError::yes);
    EXPECT_EQ(data, Bytes(1000000, '\0'));
}

TEST_F(RealTools, CapturingNothingReturnsAtOnce) {
    // cat reads until its input is closed, which happens only when the run has returned.
    EXPECT_EQ(
        QVTaskEx::dataFromTask("/bin/cat", {}, nullptr, std::nullopt, LogOutput::no, LogError::no),
        Bytes());
}

TEST_F(RealTools, StandardOutputComesBeforeStandardError) {
    const Arguments both = {"-c", "echo out; echo err >&2"};
    EXPECT_EQ(QVTaskEx::stringFromTask("/bin/sh", both), "out\n");
    EXPECT_EQ(QVTaskEx::stringFromTask("/bin/sh", {"-c", "echo err >&2"}), "err\n");
}

TEST_F(RealTools, RelativeToolThatIsMissingCannotBeRun) {
    EXPECT_FALSE(QVTaskEx::runTask("no-such-tool", {}));
    EXPECT_THAT(log(),
                EndsWith(" - Exception running task no-such-tool: No such file or directory\n"));
}

TEST_F(RealTools, ToolThatFailsHasBeenRun) {
    EXPECT_TRUE(QVTaskEx::runTask("/bin/false", {}));
    EXPECT_EQ(QVTaskEx::terminationCodeFromTask("/bin/sh", {"-c", "exit 3"}), 3);
    EXPECT_EQ(QVTaskEx::terminationCodeFromTask("/no/such/tool"), -1);
    EXPECT_THAT(log(), EndsWith(" - Error: /no/such/tool is not executable\n"));
}

} // namespace
} // namespace quorvane
