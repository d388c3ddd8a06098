#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/log/QVLog.h"
#include "kit/tasks/QVTaskEx.h"
#include "tests/support/fake_platform.h"
#include "tests/support/log_reader.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using testing::FakePlatform;
using testing::FakeTool;
using ::testing::IsEmpty;

const Path kTool = "/usr/bin/tool";

class SynchronousTask : public ::testing::Test {
protected:
    SynchronousTask() : log(system) { installTool({}); }

    void installTool(FakeTool tool) {
        system.disk->addFile(kTool, "#!");
        system.disk->setPermissions(kTool, 0755);
        system.processes->script(kTool, std::move(tool));
    }

    std::vector<std::string> launches() { return system.journal->entries("process.launch"); }

    FakePlatform system;
    testing::LogReader log;
};

TEST_F(SynchronousTask, RunsAndWaitsWithOutputDiscarded) {
    installTool({.exitStatus = 1});
    EXPECT_TRUE(QVTaskEx::runTask(kTool, {"a b", "", "--"}));
    EXPECT_THAT(launches(),
                ElementsAre("process.launch /usr/bin/tool [a b, , --] out=null err=null "
                            "in=inherited"));
    EXPECT_EQ(system.processes->lastLaunched()->waits(), 1);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(SynchronousTask, RunRefusesWhatIsNotExecutable) {
    system.disk->addFile("/plain", "");
    system.disk->setPermissions("/plain", 0644);
    system.disk->addFolder("/Tool.app");
    EXPECT_FALSE(QVTaskEx::runTask("/plain"));
    EXPECT_FALSE(QVTaskEx::runTask("/missing"));
    EXPECT_FALSE(QVTaskEx::runTask("/Tool.app"));
    EXPECT_THAT(launches(), IsEmpty());
    EXPECT_THAT(log.messages(),
                ElementsAre("Error: /plain is not executable", "Error: /missing is not executable",
                            "Error: /Tool.app is not executable"));
    EXPECT_EQ(log.printed(), "Error: /plain is not executable\nError: /missing is not executable\n"
                             "Error: /Tool.app is not executable\n");
}

TEST_F(SynchronousTask, RunLeavesRelativeNamesToTheLaunch) {
    EXPECT_FALSE(QVTaskEx::runTask("no-such-tool"));
    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_THAT(log.messages()[0], ::testing::StartsWith("Exception running task no-such-tool: "));
    EXPECT_EQ(log.printed(), "");
}

TEST_F(SynchronousTask, RunOfNothingIsALaunchThatFails) {
    EXPECT_FALSE(QVTaskEx::runTask(std::nullopt));
    EXPECT_FALSE(QVTaskEx::runTask(""));
    ASSERT_EQ(log.messages().size(), 2U);
    EXPECT_THAT(log.messages()[0], ::testing::StartsWith("Exception running task (null): "));
    EXPECT_THAT(log.messages()[1], ::testing::StartsWith("Exception running task : "));
}

TEST_F(SynchronousTask, RunLogsTheLaunchsException) {
    installTool({.launchFailure = platform::Exception("Launch", "Exec format error")});
    EXPECT_FALSE(QVTaskEx::runTask(kTool));
    EXPECT_THAT(log.messages(),
                ElementsAre("Exception running task /usr/bin/tool: Exec format error"));
    EXPECT_EQ(log.printed(), "");
}

TEST_F(SynchronousTask, ShowsItsProcessInTheSlotBeforeItStarts) {
    TaskSlot slot;
    bool shown = false;
    installTool({.effect = [&](const auto&) { shown = slot.process() != nullptr; }});
    EXPECT_TRUE(QVTaskEx::runTask(kTool, {}, &slot));
    EXPECT_TRUE(shown);
}

TEST_F(SynchronousTask, StartsAndReturnsWithoutWaiting) {
    installTool({.runsUntilTerminated = true});
    QVTaskEx::runTaskAndReturn(kTool, {"x"});
    EXPECT_THAT(launches(), ElementsAre("process.launch /usr/bin/tool [x] out=null err=null "
                                        "in=inherited"));
    const auto process = system.processes->lastLaunched();
    EXPECT_EQ(process->waits(), 0);
    EXPECT_TRUE(process->isRunning());
    process->end(0);
}

TEST_F(SynchronousTask, StartingRefusesWhatIsNotExecutable) {
    QVTaskEx::runTaskAndReturn(std::nullopt);
    QVTaskEx::runTaskAndReturn("relative");
    EXPECT_THAT(launches(), IsEmpty());
    EXPECT_THAT(log.messages(), ElementsAre("Error: (null) is not executable",
                                            "Error: relative is not executable"));
}

TEST_F(SynchronousTask, StartingLogsTheLaunchsException) {
    installTool({.launchFailure = platform::Exception("Launch", "No memory")});
    QVTaskEx::runTaskAndReturn(kTool);
    EXPECT_THAT(log.messages(), ElementsAre("Exception running task /usr/bin/tool: No memory"));
}

TEST_F(SynchronousTask, AnswersTheExitStatus) {
    installTool({.exitStatus = 3});
    EXPECT_EQ(QVTaskEx::terminationCodeFromTask(kTool, {"a"}), 3);
    EXPECT_THAT(launches(), ElementsAre("process.launch /usr/bin/tool [a] out=null err=null "
                                        "in=inherited"));
}

TEST_F(SynchronousTask, ExitStatusOfFoldersAndBundlesIsMinusOne) {
    system.disk->addFolder("/folder");
    system.disk->addFolder("/Tool.app");
    EXPECT_EQ(QVTaskEx::terminationCodeFromTask("/folder"), -1);
    EXPECT_EQ(QVTaskEx::terminationCodeFromTask("/Tool.app"), -1);
    EXPECT_EQ(QVTaskEx::terminationCodeFromTask("/missing"), -1);
    EXPECT_THAT(log.messages(), ElementsAre("Error: /folder is not executable",
                                            "Error: /Tool.app is not executable",
                                            "Error: /missing is not executable"));
}

TEST_F(SynchronousTask, ExitStatusLetsExceptionsThrough) {
    installTool({.launchFailure = platform::Exception("Launch", "No memory")});
    EXPECT_THROW(QVTaskEx::terminationCodeFromTask(kTool), platform::Exception);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(SynchronousTask, CapturesOutputBeforeError) {
    installTool({.output = {"one ", "two"}, .error = {"noise"}});
    EXPECT_EQ(QVTaskEx::dataFromTask(kTool, {"a"}, nullptr), "one two");
    EXPECT_THAT(launches(),
                ElementsAre("process.launch /usr/bin/tool [a] out=pipe err=pipe in=pipe"));
    EXPECT_EQ(system.processes->lastLaunched()->waits(), 0);
}

TEST_F(SynchronousTask, ClosesItsReadingEnds) {
    installTool({.output = {"x"}});
    QVTaskEx::dataFromTask(kTool, {}, nullptr);
    const auto pipes = system.processes->pipes();
    ASSERT_EQ(pipes.size(), 3U);
    EXPECT_TRUE(pipes[0]->readingClosed());
    EXPECT_TRUE(pipes[1]->readingClosed());
}

TEST_F(SynchronousTask, AnswersTheErrorTextOfASilentTool) {
    installTool({.error = {"went ", "wrong"}});
    EXPECT_EQ(QVTaskEx::dataFromTask(kTool, {}, nullptr), "went wrong");
    installTool({});
    EXPECT_EQ(QVTaskEx::dataFromTask(kTool, {}, nullptr), "");
}

TEST_F(SynchronousTask, CapturesOnlyWhatItIsAskedTo) {
    installTool({.output = {"out"}, .error = {"err"}});
    EXPECT_EQ(
        QVTaskEx::dataFromTask(kTool, {}, nullptr, std::nullopt, LogOutput::yes, LogError::no),
        "out");
    EXPECT_EQ(
        QVTaskEx::dataFromTask(kTool, {}, nullptr, std::nullopt, LogOutput::no, LogError::yes),
        "err");
    EXPECT_THAT(launches(),
                ElementsAre("process.launch /usr/bin/tool [] out=pipe err=null in=pipe",
                            "process.launch /usr/bin/tool [] out=inherited err=pipe in=pipe"));
}

TEST_F(SynchronousTask, CapturingNothingReturnsAtOnce) {
    installTool({.runsUntilTerminated = true});
    EXPECT_EQ(QVTaskEx::dataFromTask(kTool, {}, nullptr, std::nullopt, LogOutput::no, LogError::no),
              "");
    EXPECT_THAT(launches(),
                ElementsAre("process.launch /usr/bin/tool [] out=inherited err=null in=pipe"));
    system.processes->lastLaunched()->end(0);
}

TEST_F(SynchronousTask, GivesTheEnvironmentOn) {
    QVTaskEx::dataFromTask(kTool, {}, nullptr, Environment{{"A", "1"}, {"B", "x y"}});
    EXPECT_THAT(launches(), ElementsAre("process.launch /usr/bin/tool [] out=pipe err=pipe in=pipe "
                                        "env=[A=1, B=x y]"));
}

TEST_F(SynchronousTask, CapturingRefusesAndCatches) {
    EXPECT_EQ(QVTaskEx::dataFromTask("/missing", {}, nullptr), std::nullopt);
    installTool({.launchFailure = platform::Exception("Launch", "No memory")});
    EXPECT_EQ(QVTaskEx::dataFromTask(kTool, {}, nullptr), std::nullopt);
    EXPECT_THAT(log.messages(), ElementsAre("Error: /missing is not executable",
                                            "Exception running task /usr/bin/tool: No memory"));
    EXPECT_EQ(log.printed(), "Error: /missing is not executable\n"
                             "Exception running task /usr/bin/tool: No memory\n");
}

TEST_F(SynchronousTask, DecodesText) {
    installTool({.output = {"plain"}});
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool), "plain");
    installTool({.output = {"caf\xc3\xa9"}});
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool), std::nullopt);
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool, {}, TextEncoding::utf8, nullptr), "caf\xc3\xa9");
    installTool({.output = {"caf\xe9"}});
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool, {}, TextEncoding::utf8, nullptr), std::nullopt);
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool, {}, TextEncoding::isoLatin1, nullptr), "caf\xc3\xa9");
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool, {}, TextEncoding{4711}, nullptr), std::nullopt);
}

TEST_F(SynchronousTask, TextOfNothingIsEmpty) {
    EXPECT_EQ(QVTaskEx::stringFromTask(kTool), "");
    EXPECT_EQ(QVTaskEx::stringFromTask("/missing"), "");
}

} // namespace
} // namespace quorvane
