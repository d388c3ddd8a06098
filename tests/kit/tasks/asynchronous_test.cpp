#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/log/QVLog.h"
#include "kit/tasks/QVTaskEx.h"
#include "tests/support/fake_platform.h"
#include "tests/support/log_reader.h"
#include "tests/support/time_limit.h"

namespace quorvane {
namespace {

using testing::Detached;
using ::testing::ElementsAre;
using testing::FakePlatform;
using testing::FakeTool;
using ::testing::IsEmpty;

const Path kTool = "/usr/bin/tool";
const TaskSelector kReceiveData = &TaskDelegate::receiveData;

/// The reading threads are kept and run when the test says so.
class AsynchronousTask : public ::testing::Test {
protected:
    AsynchronousTask() : log(system) {
        system.queues->setMode(Detached::recorded);
        installTool({});
        delegate->receiveData = [this](const Bytes& data, QVTaskEx&, const std::any& object) {
            const auto* context = std::any_cast<std::string>(&object);
            received.push_back("<" + data + ">" + (context != nullptr ? " " + *context : ""));
        };
    }

    void installTool(FakeTool tool) {
        system.disk->addFile(kTool, "#!");
        system.disk->setPermissions(kTool, 0755);
        system.processes->script(kTool, std::move(tool));
    }

    void prepare(const MaybePath& tool = kTool, TaskSelector selector = kReceiveData) {
        task->asyncDataFromTask(tool, {}, delegate, selector, {});
    }
    void run() {
        prepare();
        system.queues->runRecorded();
    }

    std::vector<std::string> launches() { return system.journal->entries("process.launch"); }
    std::vector<std::string> ended() { return system.journal->entries("process.terminate"); }

    FakePlatform system;
    testing::LogReader log;
    std::vector<std::string> received;
    std::shared_ptr<TaskDelegate> delegate = std::make_shared<TaskDelegate>();
    std::shared_ptr<QVTaskEx> task = QVTaskEx::make();
};

TEST_F(AsynchronousTask, PreparesAndReturnsAtOnce) {
    task->asyncDataFromTask(kTool, {"a b"}, delegate, kReceiveData, std::string("mine"));
    EXPECT_THAT(system.journal->entries("queues."), ElementsAre("queues.detachThread"));
    EXPECT_THAT(launches(), IsEmpty());
    EXPECT_TRUE(task->theTask().process());
    EXPECT_EQ(task->delegate(), delegate);
    EXPECT_EQ(task->selector(), kReceiveData);
    EXPECT_EQ(std::any_cast<std::string>(task->object()), "mine");
    system.queues->runRecorded();
    EXPECT_THAT(launches(), ElementsAre("process.launch /usr/bin/tool [a b] out=pipe err=null "
                                        "in=inherited"));
}

TEST_F(AsynchronousTask, GivesTheEnvironmentOn) {
    task->asyncDataFromTask(kTool, {}, delegate, kReceiveData, {},
                            Environment{{"A", "1"}, {"B", "x y"}});
    system.queues->runRecorded();
    EXPECT_THAT(launches(), ElementsAre("process.launch /usr/bin/tool [] out=pipe err=null "
                                        "in=inherited env=[A=1, B=x y]"));
}

TEST_F(AsynchronousTask, DeliversChunksInOrderWithTheContextAndAnEmptyOneAtTheEnd) {
    installTool({.output = {"a", "b\n"}, .error = {"noise"}});
    task->asyncDataFromTask(kTool, {}, delegate, kReceiveData, std::string("mine"));
    system.queues->runRecorded();
    EXPECT_THAT(received, ElementsAre("<a> mine", "<b\n> mine", "<> mine"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(AsynchronousTask, SilentToolCausesOneEmptyCallWithoutAContext) {
    run();
    EXPECT_THAT(received, ElementsAre("<>"));
}

TEST_F(AsynchronousTask, HandsItselfToTheDelegate) {
    std::vector<QVTaskEx*> runners;
    delegate->receiveData = [&](const Bytes&, QVTaskEx& runner, const std::any&) {
        runners.push_back(&runner);
    };
    run();
    EXPECT_THAT(runners, ElementsAre(task.get()));
}

TEST_F(AsynchronousTask, CleansUpAtTheEnd) {
    run();
    EXPECT_EQ(task->delegate(), nullptr);
    EXPECT_EQ(task->selector(), nullptr);
    EXPECT_FALSE(task->object().has_value());
    EXPECT_EQ(task->theTask().process(), nullptr);
    EXPECT_TRUE(system.processes->pipes().at(0)->readingClosed());
    EXPECT_THAT(ended(), IsEmpty());
}

TEST_F(AsynchronousTask, TerminatesAToolThatOnlyClosedItsOutput) {
    installTool({.output = {"a"}, .runsUntilTerminated = true, .closesItsStreams = true});
    delegate->receiveData = [this](const Bytes& data, QVTaskEx&, const std::any&) {
        received.push_back(data);
        EXPECT_THAT(ended(), IsEmpty());
    };
    run();
    EXPECT_THAT(received, ElementsAre("a", ""));
    EXPECT_THAT(ended(), ElementsAre("process.terminate /usr/bin/tool"));
}

TEST_F(AsynchronousTask, DropsChunksThatNobodyReceivesAndEndsAllTheSame) {
    installTool({.output = {"a"}, .runsUntilTerminated = true, .closesItsStreams = true});
    prepare(kTool, nullptr); // no selector
    system.queues->runRecorded();
    prepare();
    task->setDelegate(nullptr); // no delegate
    system.queues->runRecorded();
    prepare();
    const auto kept = std::exchange(delegate, nullptr)->receiveData; // a delegate that has gone
    system.queues->runRecorded();
    delegate = std::make_shared<TaskDelegate>(); // one that does not answer
    prepare();
    system.queues->runRecorded();
    EXPECT_THAT(received, IsEmpty());
    EXPECT_EQ(ended().size(), 4U);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(AsynchronousTask, TellsTheOperationsOfADelegateApart) {
    struct Listener : TaskDelegate {
        TaskOperation receiveOther;
    };
    const auto listener = std::make_shared<Listener>();
    listener->receiveOther = [this](const Bytes& data, QVTaskEx&, const std::any&) {
        received.push_back("other <" + data + ">");
    };
    task->asyncDataFromTask(kTool, {}, listener, static_cast<TaskSelector>(&Listener::receiveOther),
                            {});
    system.queues->runRecorded();
    EXPECT_THAT(received, ElementsAre("other <>"));
}

TEST_F(AsynchronousTask, SaysThatNoTaskIsSet) {
    task->launchAsyncTask();
    EXPECT_THAT(log.messages(), ElementsAre("Unable to launch async task - no task set"));
    EXPECT_EQ(log.printed(), "Unable to launch async task - no task set\n");
}

TEST_F(AsynchronousTask, SaysThatTheTaskCannotBeExecutedAndStaysPrepared) {
    system.disk->addFile("/plain", "");
    system.disk->setPermissions("/plain", 0644);
    for (const MaybePath& tool : {MaybePath("/missing"), MaybePath("/plain"), MaybePath()}) {
        prepare(tool);
        system.queues->runRecorded();
        EXPECT_TRUE(task->theTask().process());
        EXPECT_EQ(task->delegate(), delegate);
    }
    const std::string text =
        "Unable to launch async task - task does not exist or is not executable";
    EXPECT_THAT(log.messages(), ElementsAre(text, text, text));
    EXPECT_EQ(log.printed(), "");
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(launches(), IsEmpty());
    task->terminateAsyncTask();
    EXPECT_FALSE(task->theTask().process());
    EXPECT_EQ(task->delegate(), nullptr);
}

TEST_F(AsynchronousTask, LogsAnExceptionWithoutAnEndChunkOrCleanUp) {
    installTool({.launchFailure = platform::Exception("ProcessException", "Exec format error")});
    run();
    const std::string text =
        "Exception in -[QVTaskEx launchAsyncTask]. ProcessException - Exec format error.";
    EXPECT_THAT(log.messages(), ElementsAre(text));
    EXPECT_EQ(log.printed(), text + "\n");
    EXPECT_THAT(received, IsEmpty());
    EXPECT_EQ(task->delegate(), delegate);
}

TEST_F(AsynchronousTask, LogsAnExceptionOfTheDelegate) {
    installTool({.output = {"a", "b"}, .runsUntilTerminated = true});
    delegate->receiveData = [](const Bytes&, QVTaskEx&, const std::any&) {
        throw platform::Exception("RangeException", "too far");
    };
    run();
    EXPECT_THAT(log.messages(),
                ElementsAre("Exception in -[QVTaskEx launchAsyncTask]. RangeException - too far."));
    EXPECT_THAT(ended(), IsEmpty());
    task.reset();
    EXPECT_THAT(ended(), ElementsAre("process.terminate /usr/bin/tool"));
}

TEST_F(AsynchronousTask, LogsThatNoThreadCanBeStarted) {
    system.queues->refuseThreads("Resource temporarily unavailable");
    prepare();
    EXPECT_THAT(log.messages(),
                ElementsAre("Exception in -[QVTaskEx launchAsyncTask]. ThreadException - "
                            "Resource temporarily unavailable."));
    EXPECT_EQ(task->delegate(), delegate);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(AsynchronousTask, MayBeTerminatedBeforeItsThreadRuns) {
    prepare();
    task->terminateTask();
    system.queues->runRecorded();
    EXPECT_THAT(launches(), IsEmpty());
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(log.messages(), ElementsAre("Unable to launch async task - no task set"));
}

TEST_F(AsynchronousTask, MayBeTerminatedWhileItsToolIsBeingStarted) {
    installTool({.output = {"a"}, .runsUntilTerminated = true, .effect = [this](const auto&) {
                     task->terminateTask();
                 }});
    run();
    EXPECT_THAT(ended(), ElementsAre("process.terminate /usr/bin/tool"));
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(AsynchronousTask, MayBeTerminatedByTheDelegateAndTwice) {
    installTool({.output = {"a", "b"}, .runsUntilTerminated = true});
    delegate->receiveData = [this](const Bytes& data, QVTaskEx& runner, const std::any&) {
        received.push_back(data);
        runner.terminateTask();
        runner.terminateAsyncTask();
    };
    run();
    EXPECT_THAT(received, ElementsAre("a"));
    EXPECT_THAT(ended(), ElementsAre("process.terminate /usr/bin/tool"));
    EXPECT_FALSE(task->theTask().process());
}

TEST_F(AsynchronousTask, MayBeTerminatedByAnotherThreadWhileItReads) {
    const testing::TimeLimit timeLimit;
    system.queues->setMode(Detached::onThread);
    installTool({.runsUntilTerminated = true});
    prepare();
    while (!system.processes->lastLaunched()) std::this_thread::yield();
    std::thread first([this] { task->terminateTask(); });
    std::thread second([this] { task->terminateTask(); });
    first.join();
    second.join();
    system.queues->join();
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(ended(), ElementsAre("process.terminate /usr/bin/tool"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(AsynchronousTask, ReadingThreadKeepsTheInstanceAlive) {
    const std::weak_ptr<QVTaskEx> watched = task;
    prepare();
    task.reset();
    EXPECT_FALSE(watched.expired());
    system.queues->runRecorded();
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(received, ElementsAre("<>"));
}

TEST_F(AsynchronousTask, LettingGoOfTheInstanceLetsGoOfTheContext) {
    const auto object = std::make_shared<int>(1);
    task->asyncDataFromTask("/missing", {}, delegate, kReceiveData, object);
    system.queues->runRecorded();
    EXPECT_EQ(object.use_count(), 2);
    task.reset();
    EXPECT_EQ(object.use_count(), 1);
}

TEST_F(AsynchronousTask, TakesChunksFromTheirNotification) {
    EXPECT_STREQ(QVAsyncTaskDataNotification, "QVAsyncTaskDataNotification");
    task->setDelegate(delegate);
    task->setSelector(kReceiveData);
    task->asyncTaskReturnData(
        {QVAsyncTaskDataNotification, {{"NSFileHandleNotificationDataItem", "a"}}});
    EXPECT_THAT(received, ElementsAre("<a>"));
    EXPECT_EQ(task->delegate(), delegate);
    task->asyncTaskReturnData({QVAsyncTaskDataNotification, {}});
    EXPECT_THAT(received, ElementsAre("<a>", "<>"));
    EXPECT_EQ(task->delegate(), nullptr);
}

} // namespace
} // namespace quorvane
