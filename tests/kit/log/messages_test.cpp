// Formats, escaping, printing, and who waits.
#include "tests/kit/log/log_world.h"

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

TEST_F(Messages, CountCharactersWhileTheyAreQueued) {
    Gate gate;
    holdLane(gate);
    log().appendTextToLog("  \xC3\xA9\xF0\x9F\x98\x80\n");
    EXPECT_EQ(log().bytesInQueue(), 4U + 3U);
    release(gate);
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(Messages, AreWrittenAsUtf8) {
    log().appendTextToLog("caf\xC3\xA9 \xFF\xC3");
    EXPECT_THAT(messages(), ElementsAre("caf\xC3\xA9 \xEF\xBF\xBD\xEF\xBF\xBD"));
}

TEST_F(Messages, ArePrintedWithDoubledPercentSigns) {
    EXPECT_EQ(printed([] { QVLog::appendLogAndPrint("rate 5% now"); }), "rate 5%% now\n");
    EXPECT_THAT(messages(), ElementsAre("rate 5% now"));
}

TEST_F(Messages, ArePrintedTrimmedAndWithoutObjectsAndNuls) {
    const std::string value("%@b%\0c", 6);
    EXPECT_EQ(printed([&] { QVLog::appendLogAndPrint(" a%@\n", value); }), "ab%%c\n");
    EXPECT_THAT(messages(), ElementsAre(std::string("a(null)b%\0c", 11)));
}

TEST_F(Messages, ArePrintedOnlyByThePrintingOperation) {
    EXPECT_EQ(printed([] {
                  QVLog::appendLog("one");
                  QVLog::fastAppendLog("two");
                  QVLog::appendLogAndDebugPrint(" 3% %@\n", "x");
                  QVLog::debugPrint("four %@", 4);
              }),
              "");
    EXPECT_THAT(messages(), ElementsAre("one", "two", "3% x"));
}

TEST_F(Messages, AreNotPrintedWhenPrintingIsOff) {
    log().setNoPrinting(true);
    EXPECT_EQ(printed([] { QVLog::appendLogAndPrint("quiet"); }), "");
    EXPECT_THAT(messages(), ElementsAre("quiet"));
}

TEST_F(Messages, DoNothingWhenLoggingIsDisabled) {
    log().setLoggingDisabled(true);
    EXPECT_EQ(printed([] {
                  QVLog::appendLog("one");
                  QVLog::fastAppendLog("two");
                  QVLog::appendLogAndPrint("three");
                  QVLog::appendLogAndDebugPrint("four");
              }),
              "");
    EXPECT_EQ(log().bytesInQueue(), 0U);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Messages, QueuedBeforeLoggingIsDisabledStayCounted) {
    log().setLoggingDisabled(true);
    log().appendTextToLog("four");
    QVLog::finishWriting();
    EXPECT_EQ(log().bytesInQueue(), 4U);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Messages, EscapeWhatCannotBeAConversion) {
    EXPECT_EQ(QVLog::escapeTextForLogging("plain"), "plain");
    EXPECT_EQ(QVLog::escapeTextForLogging("%@ %s %li"), "%@ %s %li");
    EXPECT_EQ(QVLog::escapeTextForLogging("% |%.|%!|%,|%-|%;|%:|%+"),
              "%% |%%.|%%!|%%,|%%-|%%;|%%:|%%+");
    EXPECT_EQ(QVLog::escapeTextForLogging("50%% done"), "50%% done");
    EXPECT_EQ(QVLog::escapeTextForLogging("%%%"), "%%");
    EXPECT_EQ(QVLog::escapeTextForLogging("%%"), "%%");
    EXPECT_EQ(QVLog::escapeTextForLogging("at the end %"), "at the end %");
    EXPECT_EQ(QVLog::escapeTextForLogging(""), "");
    EXPECT_EQ(QVLog::escapeTextForLogging(std::nullopt), std::nullopt);
}

TEST_F(Messages, OfOtherThreadsAreOnDiskWhenTheCallReturnsIfShort) {
    onAnotherThread([&] {
        QVLog::appendLog("short");
        EXPECT_TRUE(disk->content(kCurrent).ends_with(" - short\n"));
        QVLog::appendLogAndPrint("printed");
        EXPECT_TRUE(disk->content(kCurrent).ends_with(" - printed\n"));
        QVLog::appendLogAndDebugPrint("not printed");
        EXPECT_TRUE(disk->content(kCurrent).ends_with(" - not printed\n"));
        const std::string longest(99, 'x');
        QVLog::appendLog(longest);
        EXPECT_TRUE(disk->content(kCurrent).ends_with(" - " + longest + "\n"));
    });
}

// A call that waited at the gate would never return.
TEST_F(Messages, OfTheMainThreadNeverWait) {
    Gate gate;
    holdLane(gate);
    QVLog::appendLog("short");
    QVLog::appendLogAndPrint("short");
    EXPECT_EQ(log().bytesInQueue(), 14U);
    release(gate);
}

TEST_F(Messages, LongOnesNeverWait) {
    Gate gate;
    holdLane(gate);
    onAnotherThread([] { QVLog::appendLog(std::string(100, 'x')); });
    release(gate);
}

TEST_F(Messages, FastOnesNeverWait) {
    Gate gate;
    holdLane(gate);
    onAnotherThread([] { QVLog::fastAppendLog("short"); });
    release(gate);
}

TEST_F(Messages, BehindManyOthersNeverWait) {
    Gate gate;
    holdLane(gate);
    log().appendTextToLog(std::string(91, 'x'));
    onAnotherThread([] { QVLog::appendLog("short"); });
    EXPECT_EQ(log().bytesInQueue(), 100U);
    release(gate);
}

} // namespace
} // namespace quorvane::testing
