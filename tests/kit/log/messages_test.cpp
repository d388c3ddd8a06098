// Formats, escaping, printing, and who waits.
#include "tests/kit/log/log_world.h"

#include <thread>

#include <gmock/gmock.h>

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Messages : public LogTest {
protected:
    Messages() { addCurrentLog(); }
};

TEST_F(Messages, AreFormattedAndDated) {
    QVLog::appendLog("Copied %@ to %s in %li s, %0.2f GB", "a", std::string("b"), 3L, 1.5);
    EXPECT_THAT(messages(), ElementsAre("Copied a to b in 3 s, 1.50 GB"));
}

TEST_F(Messages, KeepPercentSignsBeforePunctuationAndBlanks) {
    QVLog::appendLog("50% done");
    QVLog::appendLog("100%-ready");
    QVLog::appendLog("1%. 2%! 3%, 4%; 5%: 6%+ %@", "x");
    QVLog::fastAppendLog("7%% of all");
    EXPECT_THAT(messages(),
                ElementsAre("50% done", "100%-ready", "1%. 2%! 3%, 4%; 5%: 6%+ x", "7% of all"));
}

TEST_F(Messages, OfNullFormatsAreNoMessages) {
    const char* none = nullptr;
    QVLog::appendLog(none);
    QVLog::fastAppendLog(std::nullopt);
    EXPECT_EQ(printed([] { QVLog::appendLogAndPrint(MaybeText()); }), "");
    QVLog::appendLogAndDebugPrint(nullptr);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Messages, AreTrimmedAtTheirEndsOnly) {
    QVLog::appendLog(" \t\r\n first\nsecond \n\n");
    QVLog::finishWriting();
    EXPECT_TRUE(disk->content(kCurrent).ends_with(" +0000 - first\nsecond\n"));
}

TEST_F(Messages, OfWhiteSpaceAreNotWritten) {
    QVLog::appendLog(" \n\t ");
    log().appendTextToLog("");
    EXPECT_EQ(log().bytesInQueue(), 0U);
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_THAT(journal->entries("files."), IsEmpty());
}

} // namespace
} // namespace quorvane::testing
