// The shared instance, and the end of logging when the application quits.
#include <gmock/gmock.h>

#include "kit/log/log_file.h"
#include "kit/log/write_lane.h"
#include "tests/kit/log/log_world.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Lifetime : public LogTest {
protected:
    /// Holds the lane in one line, queues more, and opens the gate once quitting has decided what
    /// becomes of them.
    void quitWithPending(int operations) {
        Gate gate;
        holdLane(gate);
        for (int line = 1; line < operations; ++line) QVLog::fastAppendLog("line %i", line);
        std::thread opener([&] {
            while (log().writeQueue() != nullptr) std::this_thread::yield();
            gate.open();
        });
        system.application->terminate();
        opener.join();
    }
};

TEST_F(Lifetime, TheSharedInstanceIsMadeOnce) {
    QVLog& first = QVLog::sharedController();
    EXPECT_EQ(&first, &QVLog::sharedController());
    EXPECT_EQ(QVLog::allocate(), nullptr);
    EXPECT_EQ(&first.copy(), &first);
    EXPECT_EQ(&first.retain(), &first);
    EXPECT_EQ(&first.autorelease(), &first);
    first.release();
    EXPECT_EQ(first.retainCount(), 4294967295U);
}

TEST_F(Lifetime, AnAllocatedInstanceIsTheSharedOne) {
    // The fixture has not made it when the tests of a process are run one by one.
    QVLog* allocated = QVLog::allocate();
    if (allocated == nullptr) GTEST_SKIP() << "made by an earlier test of this process";
    EXPECT_EQ(allocated, &QVLog::sharedController());
    EXPECT_EQ(QVLog::allocate(), nullptr);
}

TEST_F(Lifetime, MakingTheInstanceOpensNoFile) {
    EXPECT_EQ(log().fileHandle(), nullptr);
    EXPECT_NE(log().writeQueue(), nullptr);
    EXPECT_EQ(system.application->observerCount(), 1U);
    EXPECT_TRUE(system.exceptions->hasHandler());
    EXPECT_THAT(journal->entries("files."), IsEmpty());
}

TEST_F(Lifetime, QuittingWritesUpToTenPendingLines) {
    addCurrentLog();
    quitWithPending(10);
    EXPECT_THAT(messages(), ElementsAre("held", "line 1", "line 2", "line 3", "line 4", "line 5",
                                        "line 6", "line 7", "line 8", "line 9"));
    EXPECT_EQ(disk->openStreams(), 0U);
}

TEST_F(Lifetime, QuittingDropsElevenPendingLines) {
    addCurrentLog();
    quitWithPending(11);
    EXPECT_THAT(messages(), ElementsAre("held")); // under way, so it could not be taken back
    EXPECT_EQ(disk->openStreams(), 0U);
}

TEST_F(Lifetime, QuittingEndsLogging) {
    addCurrentLog();
    QVLog::appendLog("one");
    QVLog::finishWriting();
    log().setAppName("Other");
    system.application->terminate();
    EXPECT_EQ(system.application->observerCount(), 0U);
    EXPECT_EQ(log().fileHandle(), nullptr);
    EXPECT_EQ(log().writeQueue(), nullptr);
    EXPECT_EQ(log().appName(), "Fake Tool");
    EXPECT_EQ(printed([] { QVLog::appendLogAndPrint("two"); }), "two\n");
    onAnotherThread([] { QVLog::appendLog("three"); });
    EXPECT_THAT(messages(), ElementsAre("one"));
    EXPECT_THAT(journal->entries("files.close"), SizeIs(1));
}

TEST_F(Lifetime, QuittingTwiceIsQuittingOnce) {
    QVLog::willTerminate();
    QVLog::willTerminate();
    EXPECT_EQ(log().writeQueue(), nullptr);
}

} // namespace
} // namespace quorvane::testing
