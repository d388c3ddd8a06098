// Copies with progress: streams, order, messages and the delegate.
#include <any>
#include <atomic>
#include <thread>

#include "tests/kit/files/verified_copy_fixture.h"
#include "tests/support/time_limit.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::kChunk;
using ::testing::SizeIs;

constexpr std::size_t kLeastInterval = 20'971'520;

class CopyWithProgress : public testing::VerifiedCopyTest {};

TEST_F(CopyWithProgress, CopiesToOneDestinationWithoutVerification) {
    system.disk->addFile("/s", "content");
    const std::any object = 1;
    const std::any object2 = std::string("two");
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/a", listener(), object, object2));
    EXPECT_EQ(system.disk->content("/d/a"), "content");
    EXPECT_THAT(files(), ElementsAre("files.openForReading /s", "files.openTruncated /d/a",
                                     "files.read /s 65536 bytes", "files.write /d/a 7 bytes",
                                     "files.close /s", "files.close /d/a",
                                     "files.setAttributes /d/a creationDate=0 modificationDate=0"));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 7", "finished"));
    EXPECT_EQ(settings()->source(), "/s");
    EXPECT_THAT(settings()->destinations(), ElementsAre("/d/a"));
    EXPECT_EQ(settings()->operationType(), "copy");
    EXPECT_EQ(std::any_cast<int>(settings()->object()), 1);
    EXPECT_EQ(std::any_cast<std::string>(settings()->object2()), "two");
    EXPECT_TRUE(settings()->delegate()->fileCopyFinished);
    EXPECT_EQ(settings()->sourceChecksum(), std::nullopt);
    EXPECT_EQ(settings()->destChecksum(), std::nullopt);
    EXPECT_EQ(settings()->destChecksums(), std::nullopt);
    EXPECT_EQ(system.digests->bytesFed(), 0U);
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(CopyWithProgress, NeedsNeitherDelegateNorObjects) {
    system.disk->addFile("/s", "content");
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/a"));
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/b", nullptr));
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/c", listener()));
    EXPECT_FALSE(settings()->object().has_value());
    EXPECT_FALSE(settings()->object2().has_value());
    system.disk->addFile("/s", Bytes(kLeastInterval, 'x'));
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/d", nullptr));
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/e",
                                                    std::make_shared<const FileCopyDelegate>()));
    EXPECT_THAT(system.journal->entries("queues."), IsEmpty());
}

TEST_F(CopyWithProgress, OfAMissingSourceSaysSo) {
    EXPECT_FALSE(copy({"/d/a"}));
    EXPECT_FALSE(QVFileManager::copyFileWithProgress(std::nullopt, "/d/a"));
    EXPECT_FALSE(copy({})); // the source comes first
    EXPECT_THAT(console(), ElementsAre("Error: File /s doesn't exist. Aborting copy process...",
                                       "Error: File (null) doesn't exist. Aborting copy process...",
                                       "Error: File /s doesn't exist. Aborting copy process..."));
    EXPECT_THAT(files(), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(CopyWithProgress, WithoutADestinationSaysSo) {
    system.disk->addFile("/s");
    EXPECT_FALSE(copy({}));
    EXPECT_FALSE(QVFileManager::copyFileWithProgress("/s", std::nullopt));
    const char* line = "Error: You must have at least one destination. Aborting copy process...";
    EXPECT_THAT(console(), ElementsAre(line, line));
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(CopyWithProgress, WithAnUnknownVerificationIsRefused) {
    system.disk->addFile("/s");
    EXPECT_FALSE(copy({"/d/a"}, VerificationType{5}));
    EXPECT_FALSE(copy({"/d/a"}, VerificationType{-1}));
    EXPECT_THAT(console(),
                ElementsAre("Error: Unknown verification type 5. Aborting copy process...",
                            "Error: Unknown verification type -1. Aborting copy process..."));
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(CopyWithProgress, MakesTheFoldersBeforeItOpensAnything) {
    system.disk->addFile("/s", "content");
    EXPECT_TRUE(copy({"/d/a", "/new/deep/b", "/other/c"}));
    EXPECT_EQ(system.disk->content("/new/deep/b"), "content");
    EXPECT_EQ(system.disk->content("/other/c"), "content");
    EXPECT_EQ(files().at(0), "files.createDirectories /new/deep");
    EXPECT_EQ(files().at(1), "files.createDirectories /other");
    EXPECT_EQ(files().at(2), "files.openForReading /s");
}

TEST_F(CopyWithProgress, FoldersAreWaitedForForTenSeconds) {
    system.disk->addFile("/s", "content");
    system.disk->failAlways("createDirectories", "/new", {13, "Permission denied"});
    EXPECT_FALSE(copy({"/made/a", "/new/b", "/never/c"}));
    EXPECT_THAT(privileged(),
                ElementsAre("authorization.execute #1 /bin/mkdir [-p, /new] options=0"));
    EXPECT_NEAR(system.application->eventsAskedFor(), 1000, 1); // slices of 0.01 s
    EXPECT_THAT(console(), ElementsAre("Unable to copy file /s - destination directory /new "
                                       "doesn't exist. Aborting copy process..."));
    EXPECT_TRUE(system.disk->contains("/made")); // stays
    EXPECT_FALSE(system.disk->contains("/never"));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(CopyWithProgress, OfAnUnreadableSourceSaysSo) {
    system.disk->addFile("/s", "content");
    system.disk->failAlways("openForReading", "/s", {13, "Permission denied"});
    EXPECT_FALSE(copy({"/d/a"}));
    EXPECT_THAT(console(),
                ElementsAre("Error: Unable to read source file /s. Aborting copy process..."));
    EXPECT_FALSE(system.disk->contains("/d/a"));
}

TEST_F(CopyWithProgress, AnUnopenableDestinationEndsItAndLeavesTheStreamsOpen) {
    system.disk->addFile("/s", "content");
    system.disk->addFile("/d/a", "old");
    system.disk->addFile("/d/c", "old");
    system.disk->addFolder("/d/b");
    EXPECT_FALSE(copy({"/d/a", "/d/b", "/d/c"}, VerificationType::md5));
    EXPECT_THAT(
        console(),
        ElementsAre("Error: Unable to open destination file /d/b. Aborting copy process..."));
    EXPECT_EQ(system.disk->openStreams(), 2U);
    EXPECT_EQ(system.disk->content("/d/a"), "");
    EXPECT_EQ(system.disk->content("/d/c"), "old");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(CopyWithProgress, TheSourceAsADestinationStaysWhole) {
    system.disk->addFile("/s", "content");
    system.disk->addLink("/d/link", "/s");
    for (const Path destination : {"/s", "/d/link", "/d/../s"}) {
        EXPECT_FALSE(copy({"/d/a", destination}));
        EXPECT_EQ(console().back(), "Error: Unable to open destination file " + destination +
                                        ". Aborting copy process...");
    }
    EXPECT_EQ(system.disk->content("/s"), "content");
}

TEST_F(CopyWithProgress, AReadErrorEndsItAndLeavesTheStreamsOpen) {
    system.disk->addFile("/s", Bytes(3 * kChunk, 'x'));
    system.disk->onRead([&](const Path& path, Bytes&) {
        if (files().size() > 6) system.disk->failAlways("read", path, {5, "Input/output error"});
    });
    EXPECT_FALSE(copy({"/d/a", "/d/b"}));
    EXPECT_THAT(log.messages(), ElementsAre("Error reading file /s - aborting..."));
    EXPECT_EQ(log.printed(), "Error reading file /s - aborting...\n");
    EXPECT_EQ(system.disk->openStreams(), 3U + 1U); // and the log
    EXPECT_EQ(system.disk->content("/d/a"), Bytes(2 * kChunk, 'x'));
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(CopyWithProgress, OfAFolderIsAReadError) {
    system.disk->addFolder("/s");
    EXPECT_FALSE(copy({"/d/a"}));
    EXPECT_THAT(log.messages(), ElementsAre("Error reading file /s - aborting..."));
}

TEST_F(CopyWithProgress, GoesOnAfterShortWrites) {
    system.disk->addFile("/s", Bytes(2 * kChunk + 5, 'x'));
    system.disk->addFile("/d/full");
    system.disk->setMostBytes("/d/full", kChunk + 100);
    EXPECT_TRUE(copy({"/d/full", "/d/b"}));
    EXPECT_THAT(console(),
                ElementsAre("Error writing file /d/full: 1", "Error writing file /d/full: 1"));
    EXPECT_EQ(system.disk->content("/d/full").size(), kChunk + 100);
    EXPECT_EQ(system.disk->content("/d/b"), system.disk->content("/s"));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 131077", "finished"));
}

TEST_F(CopyWithProgress, OfASourceThatShrinksFails) {
    system.disk->addFile("/s", "content");
    setSource(8);
    EXPECT_FALSE(copy({"/d/a", "/d/b"}, VerificationType::sha1));
    EXPECT_THAT(console(),
                ElementsAre("Error: copied file size does not match original source /s"));
    EXPECT_EQ(system.disk->content("/d/a"), "content");
    EXPECT_EQ(system.disk->openStreams(), 0U);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(CopyWithProgress, OfASourceThatGrowsSucceeds) {
    system.disk->addFile("/s", "content");
    setSource(3);
    EXPECT_TRUE(copy({"/d/a"}));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 7", "finished"));
}

TEST_F(CopyWithProgress, SizesAreThoseOfTheFileBehindALink) {
    system.disk->addFile("/far/file", "x");
    system.disk->addLink("/s", "far/a link of more bytes than the file");
    system.disk->addLink("/far/a link of more bytes than the file", "../far/file");
    EXPECT_TRUE(copy({"/d/a"}));
    EXPECT_EQ(system.disk->content("/d/a"), "x");
}

TEST_F(CopyWithProgress, AnEmptySourceMakesEmptyDestinations) {
    system.disk->addFile("/s");
    system.disk->addFile("/d/a", "old");
    EXPECT_TRUE(copy({"/d/a", "/d/b"}));
    EXPECT_EQ(system.disk->content("/d/a"), "");
    EXPECT_EQ(system.disk->content("/d/b"), "");
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 0", "finished"));
    EXPECT_THAT(system.journal->entries("files.write"), IsEmpty());
}

TEST_F(CopyWithProgress, TheSamePathTwiceIsWrittenTwice) {
    system.disk->addFile("/s", Bytes(kChunk + 1, 'x'));
    EXPECT_TRUE(copy({"/d/a", "/d/a"}));
    EXPECT_EQ(system.disk->content("/d/a"), system.disk->content("/s"));
    EXPECT_THAT(files(), ElementsAre("files.openForReading /s", "files.openTruncated /d/a",
                                     "files.openTruncated /d/a", "files.read /s 65536 bytes",
                                     "files.write /d/a 65536 bytes", "files.write /d/a 65536 bytes",
                                     "files.read /s 65536 bytes", "files.write /d/a 1 bytes",
                                     "files.write /d/a 1 bytes", "files.close /s",
                                     "files.close /d/a", "files.close /d/a",
                                     "files.setAttributes /d/a creationDate=0 modificationDate=0",
                                     "files.setAttributes /d/a creationDate=0 modificationDate=0"));
}

class CopyDates : public testing::VerifiedCopyTest {
protected:
    static platform::FileTime date(int seconds) {
        return platform::FileTime(std::chrono::seconds(seconds));
    }
    std::vector<std::string> sets() { return system.journal->entries("files.setAttributes"); }
};

TEST_F(CopyDates, AreTheSources) {
    system.disk->addFile("/s");
    system.disk->setCreationDate("/s", date(5));
    system.disk->setModificationDate("/s", date(7));
    system.disk->addFile("/far");
    system.disk->addLink("/d/link", "../far");
    EXPECT_TRUE(copy({"/d/a", "/d/link"}));
    EXPECT_THAT(sets(),
                ElementsAre("files.setAttributes /d/a creationDate=5 modificationDate=7",
                            "files.setAttributes /d/../far creationDate=5 modificationDate=7"));
}

TEST_F(CopyDates, EndAtTheFirstThatIsMissing) {
    system.disk->addFile("/s");
    setSource(0, date(5));
    EXPECT_TRUE(copy({"/d/a"}));
    setSource(0, std::nullopt, date(7));
    EXPECT_TRUE(copy({"/d/b"}));
    EXPECT_THAT(sets(),
                ElementsAre("files.setAttributes /d/a creationDate=5", "files.setAttributes /d/b"));
}

TEST_F(CopyDates, OfAnUnknownSourceAreNotSet) {
    system.disk->addFile("/s", "content");
    system.disk->failAlways("attributes", "/s", {5, "Input/output error"});
    EXPECT_TRUE(copy({"/d/a"}));
    EXPECT_THAT(sets(), ElementsAre("files.setAttributes /d/a"));
}

TEST_F(CopyDates, ThatCannotBeSetFailNothing) {
    system.disk->addFile("/s");
    for (const Path path : {"/d/a", "/d/c"})
        system.disk->failAlways("setAttributes", path, {1, "Operation not permitted"});
    EXPECT_TRUE(copy({"/d/a", "/d/b", "/d/c"}));
    EXPECT_THAT(console(),
                ElementsAre("Error setting metadata for file /d/a - Operation not permitted",
                            "Error setting metadata for file /d/c - Operation not permitted"));
    const std::string both = " creationDate=0 modificationDate=0";
    EXPECT_THAT(sets(),
                ElementsAre("files.setAttributes /d/a" + both,
                            "files.setAttributes /d/a modificationDate=0",
                            "files.setAttributes /d/b" + both, "files.setAttributes /d/c" + both,
                            "files.setAttributes /d/c modificationDate=0"));
    EXPECT_EQ(calls().back(), "finished");
}

class CopyReports : public testing::VerifiedCopyTest {};

TEST_F(CopyReports, ComeOnceAtTheEndOfTwentyMiB) {
    system.disk->addFile("/s", Bytes(kLeastInterval, 'x'));
    EXPECT_TRUE(copy({"/d/a"}));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 20971520", "shouldContinue",
                                     "bytesWritten 20971520", "finished"));
    EXPECT_THAT(system.journal->entries("queues."), SizeIs(2));
}

TEST_F(CopyReports, DoNotComeBefore) {
    system.disk->addFile("/s", Bytes(kLeastInterval - 1, 'x'));
    EXPECT_TRUE(copy({"/d/a"}));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 20971519", "finished"));
    EXPECT_THAT(system.journal->entries("queues."), IsEmpty());
}

TEST_F(CopyReports, OfLargeFilesComeFiveHundredTimes) {
    constexpr std::uint64_t kReports = 40'000'000; // a 500th of 20 GB
    constexpr std::uint64_t kFirst = (kReports / kChunk + 1) * kChunk;
    system.disk->addFile("/s", Bytes(2 * kFirst, 'x'));
    setSource(20'000'000'000);
    EXPECT_FALSE(copy({"/d/a"})); // shorter than promised
    EXPECT_THAT(calls(),
                ElementsAre("bytesWritten " + std::to_string(kFirst), "shouldContinue",
                            "bytesWritten " + std::to_string(2 * kFirst), "shouldContinue"));
}

TEST_F(CopyReports, AreLeftOutForOneThatDoesNotRespond) {
    system.disk->addFile("/s", Bytes(kLeastInterval, 'x'));
    const auto delegate = listener();
    delegate->fileCopyBytesWritten = nullptr;
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/a", delegate));
    EXPECT_THAT(calls(), ElementsAre("shouldContinue", "finished"));
    const auto silent = listener();
    silent->fileCopyShouldContinue = nullptr;
    silent->fileCopyFinished = nullptr;
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", "/d/a", silent));
    EXPECT_THAT(calls(), ElementsAre("shouldContinue", "finished", "bytesWritten 20971520",
                                     "bytesWritten 20971520"));
}

TEST_F(CopyReports, CancelTheCopyWithoutAWord) {
    goOn = false;
    system.disk->addFile("/s", Bytes(2 * kLeastInterval, 'x'));
    EXPECT_FALSE(copy({"/d/a", "/d/b"}, VerificationType::md5));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 20971520", "shouldContinue"));
    EXPECT_EQ(system.disk->content("/d/a").size(), kLeastInterval);
    EXPECT_EQ(system.disk->content("/d/b").size(), kLeastInterval);
    EXPECT_EQ(system.disk->openStreams(), 0U);
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(CopyReports, CancelBetweenTwoDestinationsToo) {
    goOn = false;
    system.queues->setMode(testing::Detached::recorded);
    system.disk->addFile("/s", Bytes(2 * kLeastInterval, 'x'));
    system.disk->onRead([&](const Path& path, Bytes&) {
        if (path == "/d/a") system.queues->runRecorded();
    });
    EXPECT_FALSE(copy({"/d/a", "/d/b"}, VerificationType::md5));
    EXPECT_EQ(system.disk->content("/d/a").size(), kLeastInterval + kChunk);
    EXPECT_EQ(system.disk->content("/d/b").size(), kLeastInterval);
}

TEST_F(CopyReports, CancelAtTheLastChunkToo) {
    goOn = false;
    system.disk->addFile("/s", Bytes(kLeastInterval, 'x'));
    EXPECT_FALSE(copy({"/d/a"}));
    EXPECT_EQ(system.disk->content("/d/a").size(), kLeastInterval);
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 20971520", "shouldContinue"));
}

TEST_F(CopyReports, ThatComeLateFindTheirDelegateAndSettings) {
    goOn = false;
    system.queues->setMode(testing::Detached::recorded);
    system.disk->addFile("/s", Bytes(kLeastInterval, 'x'));
    std::weak_ptr<FileCopyDelegate> watched;
    {
        const auto delegate = listener();
        watched = delegate;
        EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", {"/d/a"}, VerificationType::sha256,
                                                        delegate));
    }
    EXPECT_FALSE(watched.expired());
    system.queues->runRecorded();
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 20971520", "finished", "bytesWritten 20971520",
                                     "shouldContinue"));
    EXPECT_EQ(settings()->sourceChecksum(),
              digest(VerificationType::sha256, system.disk->content("/s")));
}

TEST_F(CopyReports, ReadTheSettingsWhileTheCopyGoesOn) {
    const testing::TimeLimit timeLimit;
    system.queues->setMode(testing::Detached::onThread);
    system.disk->addFile("/s", Bytes(2 * kLeastInterval, 'x'));
    system.disk->onRead([](const Path& path, Bytes& bytes) {
        if (path == "/d/a") bytes.back() = 'y';
    });
    std::atomic<int> waiting = 0;
    std::atomic<bool> finished = false;
    const auto delegate = listener();
    // The copy does not wait for those who wait for its checksums.
    delegate->fileCopyShouldContinue = [&](const CopySettings& settings) {
        ++waiting;
        return testing::eventually(
            [&] { return settings->destChecksums() && settings->destChecksum() && finished; });
    };
    delegate->fileCopyFinished = [&](const CopySettings&) { finished = true; };
    const auto copyingThread = std::this_thread::get_id();
    delegate->fileCopyVerificationFailed = [&](const CopySettings&, const Path&) {
        EXPECT_EQ(std::this_thread::get_id(), copyingThread);
    };
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", {"/d/a", "/d/b"}, VerificationType::md5,
                                                    delegate));
    system.queues->join();
    EXPECT_EQ(waiting, 2);
}

} // namespace
} // namespace quorvane
