#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class FileWrites : public testing::FileManagerTest {
protected:
    FileWrites() {
        system.disk->addFile("/file", "content");
        system.disk->addFile("/lock");
        setAge("/file", 1h);
    }

    void setAge(const Path& file, std::chrono::system_clock::duration age) {
        system.disk->setModificationDate(file, std::chrono::system_clock::now() - age);
    }
    std::vector<std::string> pauses() { return system.journal->entries("queues.sleepFor"); }
};

const auto kBothLines = ElementsAre("File /file is currently being written to. Waiting...",
                                    "File /file finished writing.");

TEST_F(FileWrites, AFileWithContentIsCreated) {
    QVFileManager::waitForFileCreation("/file", 10s);
    QVFileManager::waitForFileCreation(std::nullopt, 10s);
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_THAT(pauses(), IsEmpty());
}

TEST_F(FileWrites, AMissingOrEmptyFileIsLookedAtOnce) {
    QVFileManager::waitForFileCreation("/missing", 10s);
    QVFileManager::waitForFileCreation("/lock", 0s);
    EXPECT_THAT(log.messages(), ElementsAre("File /missing is not yet created. Waiting...",
                                            "File /lock is not yet created. Waiting..."));
    EXPECT_THAT(pauses(), ElementsAre("queues.sleepFor 0.0005", "queues.sleepFor 0.0005"));
}

TEST_F(FileWrites, ANegativeTimeoutIsOver) {
    QVFileManager::waitForFileCreation("/missing", -1s);
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_THAT(pauses(), IsEmpty());
}

TEST_F(FileWrites, QuietFilesAreNotWaitedFor) {
    QVFileManager::waitForFileWrites("/file");
    QVFileManager::waitForFileWrites("/file", "/missing");
    QVFileManager::waitForFileWrites("/missing");
    QVFileManager::waitForFileWrites(std::nullopt);
    system.disk->addFile("/lock");
    QVFileManager::waitForFileWrites(std::nullopt, "/lock");
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_THAT(pauses(), IsEmpty());
}

TEST_F(FileWrites, AreWaitedForUntilTheFileIsQuiet) {
    setAge("/file", 0s);
    int left = 3;
    system.queues->onSleep([&](double) {
        if (--left == 0) setAge("/file", 6s);
    });
    QVFileManager::waitForFileWrites("/file");
    EXPECT_THAT(log.messages(), kBothLines);
    EXPECT_EQ(left, 0);
}

TEST_F(FileWrites, PauseForHalfAMillisecondEach) {
    setAge("/file", 4s);
    system.queues->onSleep([&](double) {});
    std::vector<double> lengths;
    system.queues->onSleep([&](double seconds) {
        lengths.push_back(seconds);
        if (lengths.size() == 2) setAge("/file", 1h);
    });
    QVFileManager::waitForFileWrites("/file");
    EXPECT_THAT(lengths, SizeIs(2));
    EXPECT_THAT(lengths, Each(0.0005));
}

TEST_F(FileWrites, InTheFutureAreWaitedForToo) {
    setAge("/file", -1h);
    system.queues->onSleep([&](double) { setAge("/file", 1h); });
    QVFileManager::waitForFileWrites("/file");
    EXPECT_THAT(log.messages(), kBothLines);
}

TEST_F(FileWrites, ALockFileAloneHasTheLinesLogged) {
    QVFileManager::waitForFileWrites("/file", "/lock");
    EXPECT_THAT(log.messages(), kBothLines);
    EXPECT_THAT(pauses(), IsEmpty());
}

TEST_F(FileWrites, WithALockFileAMissingFileIsWaitedFor) {
    system.disk->erase("/file");
    int pausesSeen = 0;
    system.queues->onSleep([&](double) {
        if (++pausesSeen == 1) system.disk->erase("/lock"); // not looked at again
        if (pausesSeen == 3) {
            system.disk->addFile("/file");
            setAge("/file", 1h);
        }
    });
    QVFileManager::waitForFileWrites("/file", "/lock");
    EXPECT_THAT(log.messages(), kBothLines);
    EXPECT_EQ(pausesSeen, 3);
}

class OpenFiles : public FileWrites {
protected:
    bool isOpen(std::vector<Bytes> output) {
        testing::FakeTool tool;
        tool.output = std::move(output);
        addTool("/usr/sbin/lsof", std::move(tool));
        return QVFileManager::fileIsOpenForWriting("/my file");
    }
};

TEST_F(OpenFiles, AskTheLister) {
    EXPECT_FALSE(isOpen({}));
    EXPECT_THAT(system.journal->entries("process.launch"),
                ElementsAre("process.launch /usr/sbin/lsof [-F a, -w, /my file] "
                            "out=pipe err=pipe in=pipe"));
}

TEST_F(OpenFiles, AreWrittenInTheModesWAndU) {
    EXPECT_TRUE(isOpen({"p12\nf3\naw\n"}));
    EXPECT_TRUE(isOpen({"p12\nf3\nar\n", "p13\nf4\nau\n"}));
    EXPECT_FALSE(isOpen({"p12\nf3\nar\n"}));
    EXPECT_FALSE(isOpen({"a\xFFw"})); // no text
    EXPECT_FALSE(QVFileManager::fileIsOpenForWriting(std::nullopt));
}

TEST_F(OpenFiles, WithoutAListerAreNone) {
    EXPECT_FALSE(QVFileManager::fileIsOpenForWriting("/file"));
}

} // namespace
} // namespace quorvane
