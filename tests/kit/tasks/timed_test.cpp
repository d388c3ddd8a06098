#include <limits>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/log/QVLog.h"
#include "kit/tasks/QVTaskEx.h"
#include "tests/support/fake_platform.h"
#include "tests/support/log_reader.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using testing::Detached;
using ::testing::ElementsAre;
using testing::FakePlatform;
using testing::FakeTool;
using ::testing::IsEmpty;

const Path kTool = "/usr/bin/tool";

/// The watchdogs are kept and run when the test says so.
class TimedTask : public ::testing::Test {
protected:
    TimedTask() : log(system) { system.queues->setMode(Detached::recorded); }

    void installTool(FakeTool tool) {
        system.disk->addFile(kTool, "#!");
        system.disk->setPermissions(kTool, 0755);
        system.processes->script(kTool, std::move(tool));
    }

    std::vector<std::string> ended() { return system.journal->entries("process.terminate"); }

    FakePlatform system;
    testing::LogReader log;
};

TEST_F(TimedTask, StartsItsWatchdogForTheWholeSeconds) {
    installTool({});
    QVTaskEx::dataFromTask(kTool, {}, TaskTimeout(2.9));
    QVTaskEx::terminationCodeFromTask(kTool, {}, TaskTimeout(-0.5));
    QVTaskEx::runTask(kTool, {}, TaskTimeout(0));
    system.queues->runRecorded();
    EXPECT_THAT(system.journal->entries("queues."),
                ElementsAre("queues.detachThread", "queues.detachThread", "queues.detachThread",
                            "queues.sleepFor 2", "queues.sleepFor 0", "queues.sleepFor 0"));
    EXPECT_THAT(ended(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(TimedTask, IsEndedEarlyToo) {
    installTool({.output = {"before"}, .runsUntilTerminated = true});
    const auto task = QVTaskEx::make();
    std::optional<Bytes> data;
    std::thread worker([&] { data = task->dataFromTaskOnInstance(kTool, {}, 2s); });
    while (!system.processes->lastLaunched()) std::this_thread::yield();
    task->terminateTask();
    worker.join();
    EXPECT_EQ(data, "before");
    EXPECT_EQ(ended().size(), 1U);
    system.queues->runRecorded();
    EXPECT_EQ(ended().size(), 1U);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(TimedTask, WatchdogEndsAToolThatStillRuns) {
    installTool({.output = {"before"}, .runsUntilTerminated = true});
    const auto task = QVTaskEx::make();
    std::optional<Bytes> data;
    std::thread worker([&] { data = task->dataFromTaskOnInstance(kTool, {}, 2s); });
    while (!system.processes->lastLaunched()) std::this_thread::yield();
    system.queues->runRecorded();
    worker.join();
    EXPECT_EQ(data, "before");
    EXPECT_THAT(ended(), ElementsAre("process.terminate /usr/bin/tool"));
    EXPECT_THAT(log.messages(), ElementsAre("Task /usr/bin/tool timed out. Terminating..."));
    EXPECT_EQ(log.printed(), "Task /usr/bin/tool timed out. Terminating...\n");
    EXPECT_FALSE(task->theTask().process());
}

TEST_F(TimedTask, WatchdogWorksOnTheMainThread) {
    installTool({});
    QVTaskEx::dataFromTask(kTool, {}, TaskTimeout(1));
    system.queues->runRecorded();
    EXPECT_THAT(system.journal->entries("application."),
                ElementsAre("application.performOnMainThread"));
}

TEST_F(TimedTask, ExitStatusOfAToolThatTimedOutIsTheSignal) {
    installTool({.runsUntilTerminated = true});
    const auto task = QVTaskEx::make();
    int code = 0;
    std::thread worker([&] { code = task->terminationCodeFromTaskOnInstance(kTool, {}, 2s); });
    while (!system.processes->lastLaunched()) std::this_thread::yield();
    system.queues->runRecorded();
    worker.join();
    EXPECT_EQ(code, 15);
}

TEST_F(TimedTask, PlainRunIsNeverCutShort) {
    installTool({.runsUntilTerminated = true});
    const auto task = QVTaskEx::make();
    std::thread worker([&] { task->runTaskOnInstance(kTool, {}, 2s); });
    while (!system.processes->lastLaunched()) std::this_thread::yield();
    system.queues->runRecorded();
    EXPECT_THAT(ended(), IsEmpty());
    EXPECT_TRUE(system.processes->lastLaunched()->isRunning());
    system.processes->lastLaunched()->end(0);
    worker.join();
}

TEST_F(TimedTask, LateWatchdogEndsALaterRunOfTheSameInstance) {
    const auto task = QVTaskEx::make();
    installTool({});
    task->dataFromTaskOnInstance(kTool, {}, 1s);
    installTool({.runsUntilTerminated = true});
    std::thread worker([&] { task->dataFromTaskOnInstance(kTool, {}, 100s); });
    while (system.processes->launched().size() < 2) std::this_thread::yield();
    system.queues->runRecorded(); // the first run's, among others
    worker.join();
    EXPECT_THAT(ended(), ElementsAre("process.terminate /usr/bin/tool"));
}

TEST_F(TimedTask, WatchdogKeepsItsInstanceAlive) {
    installTool({});
    auto task = QVTaskEx::make();
    const std::weak_ptr<QVTaskEx> watched = task;
    task->dataFromTaskOnInstance(kTool, {}, 1s);
    task.reset();
    EXPECT_FALSE(watched.expired());
    system.queues->runRecorded();
    EXPECT_TRUE(watched.expired());
}

TEST_F(TimedTask, TextForms) {
    installTool({.output = {"caf\xc3\xa9"}});
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool, {}, TaskTimeout(1)), std::nullopt);
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool, {}, TextEncoding::utf8, TaskTimeout(1)),
              "caf\xc3\xa9");
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool, {}, TextEncoding::utf8, TaskTimeout(1), LogOutput::no,
                                       LogError::yes),
              "");
    EXPECT_EQ(QVTaskEx::stringFromTask("/missing", {}, TaskTimeout(1)), "");
}

TEST_F(TimedTask, WithoutAThreadForItsWatchdogTheToolIsNotRun) {
    installTool({});
    system.queues->refuseThreads("Resource temporarily unavailable");
    QVTaskEx::runTask(kTool, {}, TaskTimeout(1));
    EXPECT_EQ(log.printed(), "");
    EXPECT_EQ(QVTaskEx::dataFromTask(kTool, {}, TaskTimeout(1)), std::nullopt);
    EXPECT_THROW(QVTaskEx::terminationCodeFromTask(kTool, {}, TaskTimeout(1)), platform::Exception);
    const std::string text =
        "Exception running task /usr/bin/tool: Resource temporarily unavailable";
    EXPECT_THAT(log.messages(), ElementsAre(text, text));
    EXPECT_EQ(log.printed(), text + "\n");
    EXPECT_FALSE(system.processes->lastLaunched());
}

TEST_F(TimedTask, NonsensicalTimeoutsFireAtOnce) {
    installTool({});
    QVTaskEx::dataFromTask(kTool, {}, TaskTimeout(std::numeric_limits<double>::quiet_NaN()));
    system.queues->runRecorded();
    EXPECT_THAT(system.journal->entries("queues.sleepFor"), ElementsAre("queues.sleepFor 0"));
}

} // namespace
} // namespace quorvane
