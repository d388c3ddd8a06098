#include "kit/log/write_lane.h"

#include <gmock/gmock.h>

#include "tests/kit/log/log_world.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A lane that writes one line at a time into a list.
class Lane : public ::testing::Test {
protected:
    std::size_t write(LineBatch& batch, std::size_t first) {
        const std::string text(batch.text(first));
        if (onWrite_) onWrite_(text);
        written_.add(text);
        return first + 1;
    }

    Journal written_;
    std::function<void(const std::string&)> onWrite_;
    WriteLane lane_{[this](LineBatch& batch, std::size_t first) { return write(batch, first); }};
};

TEST_F(Lane, WritesInOrder) {
    std::vector<std::string> expected;
    for (int line = 0; line < 10000; ++line) {
        expected.push_back("line " + std::to_string(line));
        lane_.add(expected.back(), 1);
    }
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(written_.entries(), expected);
    EXPECT_EQ(lane_.operationCount(), 0U);
}

TEST_F(Lane, TakesLinesOfAnyLength) {
    const std::string longest(300000, 'x');
    lane_.add("", 0);
    lane_.add(longest, 1);
    lane_.add("short", 1);
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_THAT(written_.entries(), ElementsAre("", longest, "short"));
}

TEST_F(Lane, CountsTheOperationUnderWay) {
    Gate gate;
    onWrite_ = [&](const std::string&) { gate.pass(); };
    lane_.add("one", 3);
    gate.awaitArrival();
    EXPECT_EQ(lane_.operationCount(), 1U);
    lane_.add("two", 3);
    EXPECT_EQ(lane_.operationCount(), 2U);
    gate.open();
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(lane_.operationCount(), 0U);
}

TEST_F(Lane, CancelsWhatIsNotUnderWay) {
    Gate gate;
    onWrite_ = [&](const std::string&) { gate.pass(); };
    lane_.add("one", 3);
    gate.awaitArrival();
    for (int line = 0; line < 5000; ++line) lane_.add(std::string(100, 'x'), 100);
    lane_.cancelAllOperations();
    lane_.add("after", 5);
    gate.open();
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_THAT(written_.entries(), ElementsAre("one", "after"));
}

TEST_F(Lane, CarriesOutItsOwnLinesBeforeTheOthers) {
    Gate gate;
    onWrite_ = [&](const std::string& text) {
        if (text == "one") {
            gate.pass();
            lane_.add("own 1", 5);
            lane_.add("own 2", 5);
            EXPECT_EQ(lane_.operationCount(), 4U);
        }
        if (text == "own 1") lane_.add("own 3", 5);
    };
    lane_.add("one", 3);
    lane_.add("two", 3);
    gate.open();
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_THAT(written_.entries(), ElementsAre("one", "own 1", "own 2", "own 3", "two"));
    EXPECT_EQ(lane_.operationCount(), 0U);
}

TEST_F(Lane, CancelsItsOwnLines) {
    onWrite_ = [&](const std::string&) {
        lane_.add("own", 3);
        lane_.cancelAllOperations();
    };
    lane_.add("one", 3);
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_THAT(written_.entries(), ElementsAre("one"));
    EXPECT_EQ(lane_.operationCount(), 0U);
}

TEST_F(Lane, NeverWaitsForItself) {
    onWrite_ = [&](const std::string&) {
        EXPECT_TRUE(lane_.isCurrentThread());
        lane_.waitUntilAllOperationsAreFinished();
    };
    lane_.add("one", 3);
    lane_.add("two", 3);
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_FALSE(lane_.isCurrentThread());
    EXPECT_THAT(written_.entries(), ElementsAre("one", "two"));
}

TEST_F(Lane, WaitsOnlyForWhatWasQueuedBefore) {
    Gate second;
    onWrite_ = [&](const std::string& text) {
        if (text == "two") second.pass();
    };
    lane_.add("one", 3);
    lane_.waitUntilAllOperationsAreFinished();
    lane_.add("two", 3);
    second.awaitArrival();
    EXPECT_THAT(written_.entries(), ElementsAre("one"));
    second.open();
    lane_.waitUntilAllOperationsAreFinished();
}

TEST_F(Lane, LetsNoLinesInOnceClosed) {
    lane_.close();
    lane_.add("one", 3);
    EXPECT_EQ(lane_.operationCount(), 0U);
    lane_.waitUntilAllOperationsAreFinished();
    EXPECT_THAT(written_.entries(), IsEmpty());
    EXPECT_TRUE(lane_.isClosed());
}

} // namespace
} // namespace quorvane::testing
