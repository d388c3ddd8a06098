// What every platform's processes do, the scripted ones included.
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>

#include <gmock/gmock.h>

#include "platform/linux/processes.h"
#include "tests/support/fake_processes.h"
#include "tests/support/time_limit.h"

namespace quorvane::testing {
namespace {

using platform::Pipe;
using platform::Process;
using platform::StandardStream;

constexpr int kTerminateSignal = 15;

struct Maker {
    std::string name;
    std::function<std::shared_ptr<platform::Processes>(Journal&)> make;
};

/// How the test framework names it.
void PrintTo(const Maker& maker, std::ostream* stream) { *stream << maker.name; }

std::shared_ptr<platform::Processes> makeScripted(Journal& journal) {
    auto processes = std::make_shared<FakeProcesses>(journal);
    processes->script("/bin/true", {});
    processes->script("/bin/false", {.exitStatus = 1});
    processes->script("/bin/sh", {.output = {"out\n"}, .error = {"err\n"}, .exitStatus = 3});
    processes->script("/bin/sleep", {.runsUntilTerminated = true});
    return processes;
}

class ProcessesContract : public ::testing::TestWithParam<Maker> {
protected:
    std::shared_ptr<Process> launch(const Path& path, const Arguments& arguments = {}) {
        auto process = processes_->makeProcess();
        process->launch({.path = path,
                         .arguments = arguments,
                         .environment = {},
                         .input = StandardStream::inherit(),
                         .output = StandardStream::to(output_),
                         .error = StandardStream::to(error_)});
        return process;
    }

    static std::string readToEnd(Pipe& pipe) {
        std::string text;
        for (Bytes chunk = pipe.availableData(); !chunk.empty(); chunk = pipe.availableData())
            text += chunk;
        return text;
    }

    const TimeLimit timeLimit_; // reads and waits for processes have no limit of their own
    Journal journal_;
    std::shared_ptr<platform::Processes> processes_ = GetParam().make(journal_);
    std::shared_ptr<Pipe> output_ = processes_->makePipe();
    std::shared_ptr<Pipe> error_ = processes_->makePipe();
};

TEST_P(ProcessesContract, TellsTheExitStatus) {
    const auto succeeding = launch("/bin/true");
    succeeding->waitUntilExit();
    EXPECT_FALSE(succeeding->isRunning());
    EXPECT_EQ(succeeding->terminationStatus(), 0);
    EXPECT_EQ(succeeding->launchPath(), "/bin/true");

    output_ = processes_->makePipe();
    error_ = processes_->makePipe();
    const auto failing = launch("/bin/false");
    failing->waitUntilExit();
    EXPECT_EQ(failing->terminationStatus(), 1);
}

TEST_P(ProcessesContract, GivesEachStreamToItsEnd) {
    const auto process = launch("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"});
    EXPECT_EQ(readToEnd(*output_), "out\n");
    EXPECT_EQ(readToEnd(*error_), "err\n");
    EXPECT_EQ(output_->availableData(), "");
    process->waitUntilExit();
    EXPECT_EQ(process->terminationStatus(), 3);
}

TEST_P(ProcessesContract, ThrowsTheReasonOfAFailedLaunch) {
    const auto process = processes_->makeProcess();
    try {
        process->launch({.path = "/no/such tool",
                         .arguments = {},
                         .environment = {},
                         .input = StandardStream::null(),
                         .output = StandardStream::to(output_),
                         .error = StandardStream::to(error_)});
        FAIL() << "launched";
    } catch (const platform::Exception& exception) {
        EXPECT_EQ(exception.name(), "ProcessException");
        EXPECT_EQ(exception.reason(), "No such file or directory");
    }
    EXPECT_EQ(process->launchPath(), "/no/such tool");
    EXPECT_FALSE(process->isRunning());
    EXPECT_THROW(process->terminationStatus(), platform::Exception);
    process->waitUntilExit();
    process->terminate();
    EXPECT_EQ(output_->availableData(), "");
    EXPECT_EQ(error_->availableData(), "");
}

TEST_P(ProcessesContract, EndsARunningProcessOnRequest) {
    const auto process = launch("/bin/sleep", {"1000"});
    EXPECT_TRUE(process->isRunning());
    EXPECT_THROW(process->terminationStatus(), platform::Exception);
    process->terminate();
    process->waitUntilExit();
    EXPECT_FALSE(process->isRunning());
    EXPECT_EQ(process->terminationStatus(), kTerminateSignal);
    EXPECT_EQ(readToEnd(*output_), "");
}

TEST_P(ProcessesContract, LeavesAnEndedProcessAsItIs) {
    const auto process = launch("/bin/false");
    process->waitUntilExit();
    process->terminate();
    process->waitUntilExit();
    EXPECT_EQ(process->terminationStatus(), 1);
    EXPECT_THAT(journal_.entries("process.terminate"), ::testing::IsEmpty());
}

TEST_P(ProcessesContract, AnswersForAProcessThatWasNeverLaunched) {
    const auto process = processes_->makeProcess();
    EXPECT_EQ(process->launchPath(), "");
    EXPECT_FALSE(process->isRunning());
    EXPECT_THROW(process->terminationStatus(), platform::Exception);
    process->terminate();
    process->waitUntilExit();
}

TEST_P(ProcessesContract, RefusesASecondLaunch) {
    const auto process = launch("/bin/true");
    EXPECT_THROW(process->launch({.path = "/bin/true",
                                  .arguments = {},
                                  .environment = {},
                                  .input = StandardStream::null(),
                                  .output = StandardStream::null(),
                                  .error = StandardStream::null()}),
                 platform::Exception);
    process->waitUntilExit();
    EXPECT_EQ(process->terminationStatus(), 0);
}

TEST_P(ProcessesContract, ReadsNothingOnceTheReadingEndIsClosed) {
    const auto process = launch("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"});
    output_->closeReading();
    output_->closeReading();
    EXPECT_EQ(output_->availableData(), "");
    process->waitUntilExit();
}

TEST_P(ProcessesContract, ClosingTheReadingEndWakesItsReader) {
    const auto process = launch("/bin/sleep", {"1000"});
    std::string read = "nothing yet";
    std::thread reader([&] { read = output_->availableData(); });
    output_->closeReading();
    reader.join();
    EXPECT_EQ(read, "");
    EXPECT_TRUE(process->isRunning());
    process->terminate();
    process->waitUntilExit();
}

TEST_P(ProcessesContract, AppendsWhatItReads) {
    const auto process = launch("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"});
    Bytes text = "before ";
    while (output_->appendAvailableData(text)) {
    }
    EXPECT_EQ(text, "before out\n");
    process->waitUntilExit();
}

TEST_P(ProcessesContract, WakesReadersAndWaitersWhenTheProcessEnds) {
    const auto process = launch("/bin/sleep", {"1000"});
    std::string read = "nothing yet";
    std::thread reader([&] { read = output_->availableData(); });
    std::thread waiter([&] { process->waitUntilExit(); });
    std::thread otherWaiter([&] { process->waitUntilExit(); });
    process->terminate();
    reader.join();
    waiter.join();
    otherWaiter.join();
    EXPECT_EQ(read, "");
    EXPECT_EQ(process->terminationStatus(), kTerminateSignal);
}

INSTANTIATE_TEST_SUITE_P(
    , ProcessesContract,
    ::testing::Values(Maker{"Scripted", makeScripted},
                      Maker{"Linux", [](Journal&) { return platform::linux_::makeProcesses(); }}),
    [](const auto& suite) { return suite.param.name; });

} // namespace
} // namespace quorvane::testing
