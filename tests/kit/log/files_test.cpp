// The files: names, generations, headers, the switch that turns logging off.
#include "tests/kit/log/log_world.h"

#include <cerrno>
#include <initializer_list>

#include <gmock/gmock.h>

#include "kit/log/log_file.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

const char* const kStarted = "Log started: [0-9]{4}-[0-9]{2}-[0-9]{2} "
                             "[0-9]{2}:[0-9]{2}:[0-9]{2} \\+0000";

class Files : public LogTest {
protected:
    void addGenerations(std::initializer_list<int> numbers) {
        for (const int number : numbers)
            disk->addFile(generation(number), "old " + std::to_string(number));
    }
    /// The files in the log folder.
    std::vector<Path> files() const {
        std::vector<Path> found;
        for (const Path& path : disk->paths())
            if (path.starts_with(kFolder + "/")) found.push_back(path);
        return found;
    }
    void setSwitch(platform::PropertyList value) {
        platform::PropertyList::Dictionary preferences;
        preferences["disable-logging"] = std::move(value);
        system.propertyLists->files[kPreferences] = {preferences};
    }
    /// What a new log prints; it must leave no file.
    std::string failure() {
        const std::string text = printed([] { QVLog::createNewLog(); });
        EXPECT_EQ(log().fileHandle(), nullptr);
        return text;
    }
};

TEST_F(Files, BeginWithAHeader) {
    QVLog::createNewLog();
    EXPECT_THAT(messages(),
                ElementsAre(MatchesRegex(kStarted), "Version: 1.2.3",
                            "Path: /Applications/Fake Tool.app/Contents/MacOS/Fake Tool",
                            "System: macOS Version 13.6 (Build 22G120), 4 CPU(s), "
                            "16.00 GB RAM",
                            "Running in 64-bit mode"));
    EXPECT_EQ(log().bytesWritten(), disk->content(kCurrent).size());
    EXPECT_EQ(log().bytesInQueue(), 0U);
}

TEST_F(Files, LeaveUnknownFactsOutOfTheHeader) {
    system.systemInfo->bundle = std::nullopt;
    system.systemInfo->executable = std::nullopt;
    system.systemInfo->memory = 1610612736;
    QVLog::createNewLog("Given");
    EXPECT_THAT(messages(kFolder + "/Given.1.log"),
                ElementsAre(MatchesRegex(kStarted),
                            "System: macOS Version 13.6 (Build 22G120), 4 CPU(s), 1.50 GB RAM",
                            "Running in 64-bit mode"));
}

TEST_F(Files, AreMadeInOrder) {
    QVLog::createNewLog();
    QVLog::finishWriting();
    const auto calls = journal->entries("files.");
    ASSERT_GE(calls.size(), 4U);
    EXPECT_EQ(calls[0], "files.createDirectories " + kFolder);
    EXPECT_EQ(calls[1], "files.writeAtomically " + kCurrent + " 0 bytes");
    EXPECT_EQ(calls[2], "files.open " + kCurrent);
    EXPECT_TRUE(calls[3].starts_with("files.write " + kCurrent));
}

TEST_F(Files, MoveOneGenerationOn) {
    addGenerations({1, 2, 3, 4, 5});
    QVLog::createNewLog();
    EXPECT_EQ(disk->content(generation(5)), "old 4");
    EXPECT_EQ(disk->content(generation(4)), "old 3");
    EXPECT_EQ(disk->content(generation(3)), "old 2");
    EXPECT_EQ(disk->content(generation(2)), "old 1");
    EXPECT_EQ(messages().size(), 5U);
    EXPECT_EQ(journal->entries("files.remove"),
              std::vector<std::string>{"files.remove " + generation(5)});
    EXPECT_EQ(journal->entries("files.move").front(),
              "files.move " + generation(4) + " -> " + generation(5));
}

TEST_F(Files, KeepGapsBetweenGenerations) {
    addGenerations({1, 3});
    QVLog::createNewLog();
    QVLog::finishWriting();
    EXPECT_THAT(files(), ElementsAre(generation(1), generation(2), generation(4)));
    EXPECT_EQ(disk->content(generation(2)), "old 1");
    EXPECT_EQ(disk->content(generation(4)), "old 3");
}

TEST_F(Files, StayWhereNoCurrentOneStands) {
    addGenerations({2, 3, 5});
    QVLog::createNewLog();
    QVLog::finishWriting();
    EXPECT_THAT(files(), ElementsAre(generation(1), generation(2), generation(3), generation(5)));
    EXPECT_EQ(disk->content(generation(2)), "old 2");
    EXPECT_THAT(journal->entries("files.move"), IsEmpty());
}

TEST_F(Files, AreClosedWhenANewOneBegins) {
    QVLog::createNewLog();
    QVLog::finishWriting();
    QVLog::createNewLog();
    QVLog::finishWriting();
    EXPECT_EQ(disk->openStreams(), 1U);
}

TEST_F(Files, AreNamedAfterTheExecutableWhateverIsGiven) {
    QVLog::createNewLog("Given");
    QVLog::finishWriting();
    EXPECT_THAT(files(), ElementsAre(kCurrent));
}

TEST_F(Files, AreNamedAfterTheExecutableWithoutExtension) {
    system.systemInfo->executable = "/usr/bin/quiet.tool.bin";
    QVLog::createNewLog();
    QVLog::finishWriting();
    EXPECT_THAT(files(), ElementsAre(kFolder + "/quiet.tool.1.log"));
}

TEST_F(Files, TakeAGivenNameWhereThereIsNoExecutable) {
    system.systemInfo->executable = std::nullopt;
    EXPECT_EQ(log().appName(), std::nullopt);
    QVLog::createNewLog("Given");
    QVLog::finishWriting();
    EXPECT_THAT(files(), ElementsAre(kFolder + "/Given.1.log"));
    QVLog::createNewLog("Later");
    EXPECT_EQ(log().appName(), "Given");
}

TEST_F(Files, OfANamelessApplicationAreCalledUnknown) {
    system.systemInfo->executable = std::nullopt;
    QVLog::createNewLog("");
    QVLog::finishWriting();
    EXPECT_THAT(files(), ElementsAre(kFolder + "/Unknown.1.log"));
    EXPECT_EQ(log().appName(), "Unknown");
}

TEST_F(Files, OfAnApplicationThatNobodyNamesAreCalledUnknown) {
    system.systemInfo->executable = std::nullopt;
    QVLog::createNewLog();
    EXPECT_EQ(log().appName(), "Unknown");
}

TEST_F(Files, AreListedFromNewestToOldest) {
    EXPECT_THAT(QVLog::availableLogs(), IsEmpty());
    addGenerations({1, 3, 5});
    disk->addFile(kFolder + "/Fake Tool.6.log");
    EXPECT_THAT(QVLog::availableLogs(), ElementsAre(generation(1), generation(3), generation(5)));
}

TEST_F(Files, OfTheSuperuserStandInTheMachineWideFolder) {
    system.identity->becomeSuperuser();
    disk->addFolder("/Library/Logs/Quorvane");
    disk->addFile("/Library/Logs/Quorvane/Fake Tool.1.log", "machine-wide");
    addGenerations({1, 4});
    QVLog::createNewLog();
    QVLog::finishWriting();
    EXPECT_EQ(undated(disk->content("/Library/Logs/Quorvane/Fake Tool.1.log")).size(), 5U);
    EXPECT_THAT(files(), ElementsAre(generation(2), generation(5)));
    EXPECT_EQ(disk->content(generation(2)), "old 1");
    EXPECT_THAT(QVLog::availableLogs(), ElementsAre(generation(2), generation(5)));
}

TEST_F(Files, OfTheSuperuserNeedTheMachineWideFolder) {
    system.identity->becomeSuperuser();
    EXPECT_EQ(failure(), "Unable to create log file /Library/Logs/Quorvane/Fake Tool.1.log - No "
                         "such file or directory\n");
    EXPECT_TRUE(disk->isFolder(kFolder));
}

TEST_F(Files, CannotBeMadeWithoutAFolder) {
    disk->failAlways("createDirectories", kFolder, errorFor(EACCES));
    EXPECT_EQ(failure(), "Unable to create folder " + kFolder + ".\n");
}

TEST_F(Files, CannotBeMadeWhereNobodyIsAtHome) {
    system.identity->becomeSuperuser();
    system.identity->console = std::nullopt;
    EXPECT_EQ(failure(), "Unable to create folder (null).\n");
    EXPECT_THAT(QVLog::availableLogs(), IsEmpty());
}

TEST_F(Files, StayWhereAGenerationCannotBeMoved) {
    addGenerations({1, 2, 4});
    disk->failAlways("moveItem", generation(2), errorFor(EPERM));
    EXPECT_EQ(failure(), "Unable to move file " + generation(2) + " to " + generation(3) + ".\n");
    EXPECT_THAT(files(), ElementsAre(generation(1), generation(2), generation(5)));
    EXPECT_EQ(disk->content(generation(1)), "old 1");
}

TEST_F(Files, ThatCannotBeRemovedStandInTheWay) {
    addGenerations({1, 5});
    disk->failAlways("removeItem", generation(5), errorFor(EPERM));
    EXPECT_EQ(printed([] { QVLog::createNewLog(); }), "");
    EXPECT_EQ(disk->content(generation(5)), "old 5");
    EXPECT_EQ(disk->content(generation(2)), "old 1");
}

TEST_F(Files, ThatCannotBeWrittenAreTold) {
    disk->failAlways("writeAtomically", kCurrent, errorFor(ENOSPC));
    EXPECT_EQ(failure(), "Unable to create log file " + kCurrent + " - No space left on device\n");
}

TEST_F(Files, ThatCannotBeOpenedAreNotTold) {
    disk->failNext("openForAppending", kCurrent, errorFor(EACCES));
    EXPECT_EQ(failure(), "");
    EXPECT_EQ(disk->content(kCurrent), "");
}

TEST_F(Files, FailQuietlyWhenPrintingIsOff) {
    log().setNoPrinting(true);
    disk->failNext("createDirectories", kFolder, errorFor(EACCES));
    EXPECT_EQ(failure(), "");
    disk->failNext("writeAtomically", kCurrent, errorFor(ENOSPC));
    EXPECT_EQ(failure(), "");
    addGenerations({1});
    disk->failNext("moveItem", generation(1), errorFor(EPERM));
    EXPECT_EQ(failure(), "");
    setSwitch({true});
    EXPECT_EQ(failure(), "");
    EXPECT_TRUE(log().loggingDisabled());
}

TEST_F(Files, AreNotMadeWhenTheUserSwitchedLoggingOff) {
    setSwitch({std::string("1")});
    EXPECT_EQ(failure(), "Logging is disabled\n");
    EXPECT_TRUE(log().loggingDisabled());
    EXPECT_THAT(journal->entries("files."), IsEmpty());
    system.propertyLists->files.clear();
    EXPECT_EQ(failure(), "");
    EXPECT_TRUE(log().loggingDisabled());
}

TEST_F(Files, AreNotMadeForATrueSwitch) {
    setSwitch({true});
    EXPECT_EQ(failure(), "Logging is disabled\n");
}

TEST_F(Files, AreNotMadeForASwitchOfOne) {
    setSwitch({std::int64_t{1}});
    EXPECT_EQ(failure(), "Logging is disabled\n");
}

TEST_F(Files, AreNotMadeForARealSwitchOfOne) {
    setSwitch({1.0});
    EXPECT_EQ(failure(), "Logging is disabled\n");
}

TEST_F(Files, AreMadeForEveryOtherSwitch) {
    using platform::PropertyList;
    const std::vector<PropertyList> values = {{},
                                              {false},
                                              {0.5},
                                              {std::int64_t{0}},
                                              {std::int64_t{2}},
                                              {std::string("0")},
                                              {std::string("true")},
                                              {std::string("")},
                                              {PropertyList::Data{"1"}},
                                              {PropertyList::Array{{true}}}};
    for (const PropertyList& value : values) {
        setSwitch(value);
        EXPECT_EQ(printed([] { QVLog::createNewLog(); }), "");
        EXPECT_NE(log().fileHandle(), nullptr);
    }
}

TEST_F(Files, AreMadeForPreferencesThatAreNoDictionary) {
    system.propertyLists->files[kPreferences] = {std::string("1")};
    QVLog::createNewLog();
    EXPECT_NE(log().fileHandle(), nullptr);
}

TEST_F(Files, AnOpenOneIsLetGoWhenLoggingIsFoundOff) {
    QVLog::createNewLog();
    QVLog::finishWriting();
    setSwitch({true});
    EXPECT_EQ(failure(), "Logging is disabled\n");
    EXPECT_EQ(disk->openStreams(), 0U);
    EXPECT_GT(log().bytesWritten(), 0U);
}

} // namespace
} // namespace quorvane::testing
