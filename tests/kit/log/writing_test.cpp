// Reopening, the size limit, and lines that cannot be written.
#include <cerrno>

#include <gmock/gmock.h>

#include "kit/log/log_file.h"
#include "tests/kit/log/log_world.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const char* const kTruncated = "Log truncated at 500KB";

class Writing : public LogTest {
protected:
    static constexpr std::size_t kPrefixLength = 28;

    /// A new log that takes as many more bytes as given before it is full.
    static void createLogWithRoom(std::uint64_t bytes) {
        QVLog::createNewLog();
        QVLog::finishWriting();
        log().setBytesWritten(QVLog::kFileSizeLimit - bytes);
    }
    static void expectBeginsAfterTheLimit(const std::vector<std::string>& lines) {
        ASSERT_GE(lines.size(), 6U);
        EXPECT_THAT(lines[0], StartsWith("Log started: "));
        EXPECT_EQ(lines[1], "Version: 1.2.3");
        EXPECT_THAT(lines[2], StartsWith("Path: "));
        EXPECT_THAT(lines[3], StartsWith("System: macOS "));
        EXPECT_EQ(lines[4], "Running in 64-bit mode");
        EXPECT_EQ(lines[5], kTruncated);
    }
    static std::string lost(const std::string& text) {
        return "Unable to log the following information: " + text +
               "\nUnable to open log for output\n";
    }
};

TEST_F(Writing, AppendsToACurrentLogThatIsThere) {
    disk->addFile(kCurrent, "what was\n");
    QVLog::appendLog("one");
    QVLog::appendLog("two");
    QVLog::finishWriting();
    const std::string content = disk->content(kCurrent);
    EXPECT_TRUE(content.starts_with("what was\n"));
    EXPECT_THAT(undated(content.substr(9)), ElementsAre("one", "two"));
    EXPECT_EQ(log().bytesWritten(), content.size() - 9);
    EXPECT_EQ(journal->entries("files.open").size(), 1U);
    EXPECT_EQ(journal->entries("files.seekToEnd").size(), 1U);
}

TEST_F(Writing, LosesLinesWhereThereIsNoLog) {
    EXPECT_EQ(printed([] { QVLog::appendLog("one"); }), lost("one"));
    EXPECT_EQ(printed([] { QVLog::appendLogAndPrint("two"); }).size(),
              lost("two").size() + std::string("two\n").size());
    EXPECT_EQ(log().bytesInQueue(), 0U);
    EXPECT_FALSE(disk->contains(kFolder));
    addCurrentLog();
    QVLog::appendLog("three");
    EXPECT_THAT(messages(), ElementsAre("three"));
}

TEST_F(Writing, LosesEachOfManyLinesWhereThereIsNoLog) {
    Gate gate;
    system.services.makeFileManager = [this, &gate] {
        gate.pass();
        return std::make_unique<FakeFileManager>(disk, journal);
    };
    EXPECT_EQ(printed([&] {
                  for (const char* text : {"one", "two", "three"}) QVLog::fastAppendLog(text);
                  gate.open();
              }),
              lost("one") + lost("two") + lost("three"));
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(Writing, LosesLinesQuietlyWhenPrintingIsOff) {
    log().setNoPrinting(true);
    EXPECT_EQ(printed([] { QVLog::appendLog("one"); }), "");
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(Writing, CannotReopenADeletedLog) {
    addCurrentLog();
    QVLog::appendLog("one");
    QVLog::finishWriting();
    log().setFileHandle(nullptr);
    disk->erase(kCurrent);
    EXPECT_EQ(printed([] { QVLog::appendLog("two"); }), lost("two"));
    EXPECT_FALSE(disk->contains(kCurrent));
}

TEST_F(Writing, OfTheSuperuserGoesToTheMachineWideLog) {
    system.identity->becomeSuperuser();
    addCurrentLog();
    disk->addFile("/Library/Logs/Quorvane/Fake Tool.1.log");
    QVLog::appendLog("one");
    EXPECT_THAT(messages("/Library/Logs/Quorvane/Fake Tool.1.log"), ElementsAre("one"));
    EXPECT_EQ(disk->content(kCurrent), "");
}

TEST_F(Writing, WhereNoNameIsKnownLooksForTheNullLog) {
    system.systemInfo->executable = std::nullopt;
    disk->addFile(kFolder + "/(null).1.log");
    QVLog::appendLog("one");
    EXPECT_THAT(messages(kFolder + "/(null).1.log"), ElementsAre("one"));
}

TEST_F(Writing, BeginsANewFileAtTheLimit) {
    createLogWithRoom(kPrefixLength + 6);
    QVLog::appendLog("12345");
    const auto lines = messages();
    expectBeginsAfterTheLimit(lines);
    EXPECT_EQ(lines.size(), 6U);
    const auto old = messages(generation(2));
    EXPECT_EQ(old.size(), 6U);
    EXPECT_EQ(old.back(), "12345");
    EXPECT_EQ(log().bytesWritten(), disk->content(kCurrent).size());
    EXPECT_EQ(log().bytesInQueue(), 0U);
    EXPECT_EQ(disk->openStreams(), 1U);
}

TEST_F(Writing, KeepsTheFileOneByteBelowTheLimit) {
    createLogWithRoom(kPrefixLength + 6);
    QVLog::appendLog("1234");
    QVLog::finishWriting();
    EXPECT_EQ(log().bytesWritten(), QVLog::kFileSizeLimit - 1);
    EXPECT_FALSE(disk->contains(generation(2)));
}

TEST_F(Writing, KeepsTheLineThatCrossesTheLimitWhole) {
    createLogWithRoom(1);
    QVLog::appendLog(std::string(1000, 'x'));
    expectBeginsAfterTheLimit(messages());
    EXPECT_EQ(messages(generation(2)).back(), std::string(1000, 'x'));
}

TEST_F(Writing, BeginsANewFileAtTheLineThatCrossesTheLimitHoweverManyArePending) {
    createLogWithRoom(2 * (kPrefixLength + 3));
    Gate gate;
    holdLane(gate);
    log().setBytesWritten(QVLog::kFileSizeLimit - 3 * (kPrefixLength + 5));
    for (const char* text : {"1st.", "2nd.", "3rd.", "4th.", "5th."}) QVLog::fastAppendLog(text);
    gate.open();
    const auto lines = messages();
    expectBeginsAfterTheLimit(lines);
    EXPECT_THAT(std::vector(lines.begin() + 6, lines.end()), ElementsAre("3rd.", "4th.", "5th."));
    EXPECT_EQ(messages(generation(2)).back(), "2nd.");
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(Writing, GoesOnInTheSameFileWhereANewOneCannotBegin) {
    createLogWithRoom(1);
    disk->failAlways("moveItem", generation(1), errorFor(EPERM));
    EXPECT_EQ(printed([] { QVLog::appendLog("crossing"); }),
              "Unable to move file " + generation(1) + " to " + generation(2) + ".\n");
    const auto lines = messages();
    EXPECT_EQ(lines.at(5), "crossing");
    EXPECT_EQ(lines.at(6), kTruncated);
    EXPECT_EQ(log().bytesInQueue(), 0U);
    EXPECT_EQ(disk->openStreams(), 1U);
}

TEST_F(Writing, StopsAtTheLimitWhenLoggingIsFoundOff) {
    createLogWithRoom(1);
    platform::PropertyList::Dictionary preferences;
    preferences["disable-logging"] = {true};
    system.propertyLists->files[kPreferences] = {preferences};
    EXPECT_EQ(printed([] { QVLog::appendLog("crossing"); }), "Logging is disabled\n");
    EXPECT_EQ(messages().back(), "crossing");
    EXPECT_EQ(disk->openStreams(), 0U);
}

TEST_F(Writing, LosesTheLineThatCannotBeWritten) {
    QVLog::createNewLog();
    const std::uint64_t before = (QVLog::finishWriting(), log().bytesWritten());
    disk->failNext("write", kCurrent, errorFor(ENOSPC));
    EXPECT_EQ(printed([] { QVLog::appendLog("lost"); }),
              "Exception writing to log: No space left on device\n");
    EXPECT_EQ(log().bytesWritten(), before);
    EXPECT_EQ(log().bytesInQueue(), 4U);
    QVLog::appendLog("kept");
    EXPECT_EQ(messages().back(), "kept");
    EXPECT_EQ(messages().size(), 6U);
    EXPECT_EQ(log().bytesInQueue(), 4U);
}

TEST_F(Writing, TellsNoLossWhenPrintingIsOff) {
    addCurrentLog();
    log().setNoPrinting(true);
    disk->failNext("write", kCurrent, errorFor(ENOSPC));
    EXPECT_EQ(printed([] { QVLog::appendLog("lost"); }), "");
    EXPECT_EQ(log().bytesInQueue(), 4U);
}

TEST_F(Writing, CountsTheWholeLinesBeforeTheOneThatFails) {
    addCurrentLog();
    Gate gate;
    holdLane(gate);
    const std::size_t line = kPrefixLength + 4;
    int writes = 0;
    writeWith([&](FakeFileManager& files, auto handle, std::string_view bytes) {
        ++writes;
        if (writes == 1) return files.write(handle, bytes.substr(0, 2 * line + 5));
        if (writes == 2) return platform::Result<std::size_t>(errorFor(ENOSPC));
        return files.write(handle, bytes);
    });
    for (const char* text : {"1st", "2nd", "3rd", "4th"}) QVLog::fastAppendLog(text);
    EXPECT_EQ(printed([&] { gate.open(); }), "Exception writing to log: No space left on device\n");
    const std::string content = disk->content(kCurrent);
    const std::size_t held = kPrefixLength + 5;
    EXPECT_THAT(undated(content.substr(0, held + 2 * line)), ElementsAre("held", "1st", "2nd"));
    EXPECT_EQ(content[held + 2 * line + 5], '\n');
    EXPECT_THAT(undated(content.substr(held + 2 * line + 6)), ElementsAre("4th"));
    EXPECT_EQ(log().bytesWritten(), held + 3 * line);
    EXPECT_EQ(log().bytesInQueue(), 3U);
}

TEST_F(Writing, BeginsANewLineOnceAFullDiskHasRoom) {
    addCurrentLog();
    log().setNoPrinting(true);
    QVLog::appendLog("kept");
    QVLog::finishWriting();
    const std::size_t torn = disk->content(kCurrent).size() + 5;
    disk->setMostBytes(kCurrent, torn);
    QVLog::appendLog("torn");
    QVLog::appendLog("lost");
    QVLog::finishWriting();
    EXPECT_EQ(disk->content(kCurrent).size(), torn);
    disk->setMostBytes(kCurrent, torn + 1000);
    QVLog::appendLog("whole");
    const auto lines = messages();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], "kept");
    EXPECT_THAT(lines[1], StartsWith("BROKEN: "));
    EXPECT_EQ(lines[2], "whole");
    EXPECT_EQ(log().bytesWritten(), 2 * (kPrefixLength + 5) + 1);
}

TEST_F(Writing, LeavesNoEmptyLineWhereNothingIsTorn) {
    addCurrentLog();
    log().setNoPrinting(true);
    QVLog::appendLog("kept");
    QVLog::finishWriting();
    const std::size_t full = disk->content(kCurrent).size();
    disk->setMostBytes(kCurrent, full);
    QVLog::appendLog("lost");
    QVLog::finishWriting();
    disk->setMostBytes(kCurrent, full + 1000);
    QVLog::appendLog("whole");
    EXPECT_THAT(messages(), ElementsAre("kept", "whole"));
}

TEST_F(Writing, BeginsANewLineBehindATornOneThatIsThere) {
    disk->addFile(kCurrent, "torn");
    QVLog::appendLog("whole");
    EXPECT_THAT(messages(), ElementsAre("BROKEN: torn", "whole"));
    EXPECT_EQ(log().bytesWritten(), kPrefixLength + 6);
}

TEST_F(Writing, GoesOnAfterAShortWrite) {
    addCurrentLog();
    writeWith([](FakeFileManager& files, auto handle, std::string_view bytes) {
        return files.write(handle, bytes.substr(0, 7));
    });
    QVLog::appendLog("whole");
    EXPECT_THAT(messages(), ElementsAre("whole"));
}

TEST_F(Writing, TellsTheReasonOfAnException) {
    addCurrentLog();
    disk->failNext("seekToEnd", kCurrent, errorFor(EIO));
    EXPECT_EQ(printed([] { QVLog::appendLog("lost"); }),
              "Exception writing to log: Input/output error\n");
    EXPECT_EQ(log().bytesInQueue(), 4U);
}

TEST_F(Writing, WritesALineAtOnceOnTheLane) {
    addCurrentLog();
    log().setBytesInQueue(6);
    log().appendLogOnThread("direct");
    EXPECT_THAT(undated(disk->content(kCurrent)), ElementsAre("direct"));
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

} // namespace
} // namespace quorvane::testing
