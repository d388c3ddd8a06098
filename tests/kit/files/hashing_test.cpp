#include <atomic>
#include <memory>

#include "tests/kit/files/file_manager_fixture.h"
#include "tests/support/time_limit.h"

namespace quorvane {
namespace {

using platform::DigestAlgorithm;
using ::testing::ElementsAre;
using testing::fakeDigest;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::size_t kQuestionInterval = 52'428'800;
constexpr std::size_t kChunk = 65'536;

using Delegate = std::shared_ptr<ChecksumDelegate>;
using HashForFile = MaybeText (*)(const MaybePath&, const std::shared_ptr<const ChecksumDelegate>&);

struct FileHash {
    HashForFile hash;
    DigestAlgorithm algorithm;
};
const std::vector<FileHash> kFileHashes = {
    {QVFileManager::md5HashForFile, DigestAlgorithm::md5},
    {QVFileManager::sha1HashForFile, DigestAlgorithm::sha1},
    {QVFileManager::sha512HashForFile, DigestAlgorithm::sha512},
};

class Hashing : public testing::FileManagerTest {
protected:
    platform::DigestContext context(DigestAlgorithm algorithm, std::string_view bytes) {
        platform::DigestContext context = system.digests->begin(algorithm);
        context.update(bytes);
        return context;
    }
    std::vector<std::string> files() { return system.journal->entries("files."); }
    std::vector<std::string> questions() { return system.journal->entries("queues."); }
    /// A delegate that counts its calls and gives one answer.
    Delegate answering(bool answer) {
        return std::make_shared<ChecksumDelegate>(
            ChecksumDelegate{[this, answer](const Path& file) {
                EXPECT_EQ(file, "/file");
                ++calls_;
                return answer;
            }});
    }

    std::atomic<int> calls_ = 0;
};

TEST_F(Hashing, ContextsBecomeTexts) {
    using enum DigestAlgorithm;
    const auto text = [&](auto hash, DigestAlgorithm algorithm) {
        return hash(context(algorithm, "bytes"));
    };
    EXPECT_EQ(text(QVFileManager::md5HashWithContext, md5), fakeDigest(md5, "bytes"));
    EXPECT_EQ(text(QVFileManager::sha1HashWithContext, sha1), fakeDigest(sha1, "bytes"));
    EXPECT_EQ(text(QVFileManager::sha256HashWithContext, sha256), fakeDigest(sha256, "bytes"));
    EXPECT_EQ(text(QVFileManager::sha512HashWithContext, sha512), fakeDigest(sha512, "bytes"));
    EXPECT_THAT(*text(QVFileManager::md5HashWithContext, md5), SizeIs(32));
    EXPECT_THAT(*text(QVFileManager::sha1HashWithContext, sha1), SizeIs(40));
    EXPECT_THAT(*text(QVFileManager::sha256HashWithContext, sha256), SizeIs(64));
    EXPECT_THAT(*text(QVFileManager::sha512HashWithContext, sha512), SizeIs(128));
}

TEST_F(Hashing, DoesNotDisturbTheCallersContext) {
    platform::DigestContext fed = context(DigestAlgorithm::md5, "a");
    EXPECT_EQ(QVFileManager::md5HashWithContext(fed), fakeDigest(DigestAlgorithm::md5, "a"));
    fed.update("b");
    EXPECT_EQ(QVFileManager::md5HashWithContext(fed), fakeDigest(DigestAlgorithm::md5, "ab"));
}

TEST_F(Hashing, AContextOfAnotherAlgorithmHasNoText) {
    EXPECT_EQ(QVFileManager::md5HashWithContext(context(DigestAlgorithm::sha1, "a")), std::nullopt);
    EXPECT_EQ(QVFileManager::sha256HashWithContext({DigestAlgorithm::sha256, nullptr}),
              std::nullopt);
}

TEST_F(Hashing, OfFilesByEachAlgorithm) {
    system.disk->addFile("/file", "some bytes");
    system.disk->addFile("/empty");
    for (const auto& [hash, algorithm] : kFileHashes) {
        EXPECT_EQ(hash("/file", nullptr), fakeDigest(algorithm, "some bytes"));
        EXPECT_EQ(hash("/empty", answering(false)), fakeDigest(algorithm, ""));
    }
    EXPECT_THAT(questions(), IsEmpty());
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(Hashing, ReadsInChunksToTheEnd) {
    system.disk->addFile("/file", Bytes(kChunk + 1, 'x'));
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file"));
    EXPECT_THAT(files(), ElementsAre("files.openForReading /file", "files.read /file 65536 bytes",
                                     "files.read /file 65536 bytes", "files.read /file 65536 bytes",
                                     "files.close /file"));
}

/// With as many bytes at a time as the second thread may be behind, and more.
TEST_F(Hashing, OfFilesOfManyChunks) {
    for (const std::size_t chunks : {3U, 4U, 5U, 6U, 19U, 20U, 21U, 60U}) {
        for (const std::size_t rest : {0U, 1U, 65535U}) {
            Bytes content(chunks * kChunk + rest, '\0');
            for (std::size_t i = 0; i < content.size(); i += 1000)
                content[i] = static_cast<char>(i / 1000);
            system.disk->addFile("/file", content);
            EXPECT_EQ(QVFileManager::sha1HashForFile("/file"),
                      fakeDigest(DigestAlgorithm::sha1, content))
                << chunks << " " << rest;
        }
    }
}

TEST_F(Hashing, OfWhatCannotBeOpenedSaysSoOnTheConsole) {
    for (const auto& [hash, algorithm] : kFileHashes)
        EXPECT_EQ(hash("/a b", nullptr), std::nullopt);
    EXPECT_EQ(QVFileManager::md5HashForFile(std::nullopt), std::nullopt);
    const std::string line =
        "Error: Unable to open destination file /a b. Aborting hash verification...";
    EXPECT_THAT(
        system.consoleLog->messages(),
        ElementsAre(
            line, line, line,
            "Error: Unable to open destination file (null). Aborting hash verification..."));
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_EQ(log.printed(), "");
}

TEST_F(Hashing, AReadErrorGoesToTheApplicationsLog) {
    for (const auto& [hash, algorithm] : kFileHashes) {
        system.disk->addFile("/file", Bytes(9 * kChunk, 'x'));
        int reads = 0;
        system.disk->onRead([&](const Path& path, Bytes&) {
            if (++reads == 7) system.disk->failNext("read", path, {5, "Input/output error"});
        });
        EXPECT_EQ(hash("/file", nullptr), std::nullopt);
    }
    const std::string line = "Error reading file /file - aborting...";
    EXPECT_THAT(log.messages(), ElementsAre(line, line, line));
    EXPECT_EQ(log.printed(), line + "\n" + line + "\n" + line + "\n");
    EXPECT_THAT(system.consoleLog->messages(), IsEmpty());
    EXPECT_EQ(system.disk->openStreams(), 1U); // the log
}

TEST_F(Hashing, OfAFolderIsAReadError) {
    system.disk->addFolder("/folder");
    EXPECT_EQ(QVFileManager::sha512HashForFile("/folder"), std::nullopt);
    EXPECT_THAT(log.messages(), ElementsAre("Error reading file /folder - aborting..."));
}

TEST_F(Hashing, ClosesTheDescriptorThatTheHandleIs) {
    system.disk->addFile("/file", "bytes");
    system.disk->setFirstHandle((std::int64_t{1} << 32) + 7);
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file"));
    // No stream has the number 7 here.
    EXPECT_EQ(files().back(), "files.close ");
    EXPECT_EQ(system.disk->openStreams(), 1U);
}

TEST_F(Hashing, ADigestThatTheSystemForbidsIsNone) {
    system.disk->addFile("/file", "bytes");
    system.digests->forbidden = {DigestAlgorithm::md5};
    EXPECT_EQ(QVFileManager::md5HashForFile("/file"), std::nullopt);
    EXPECT_TRUE(QVFileManager::sha1HashForFile("/file"));
    EXPECT_THAT(
        system.consoleLog->messages(),
        ElementsAre("Error: This system does not allow the digest asked for of file /file."));
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

class AskingTheDelegate : public Hashing {
protected:
    void addFile(std::size_t size) { system.disk->addFile("/file", Bytes(size, 'x')); }
    /// Runs what was asked for when so many bytes were read.
    void answerAfter(std::size_t bytes) {
        system.disk->onRead([this, bytes](const Path&, Bytes& chunk) {
            read_ += chunk.size();
            if (read_ == bytes) system.queues->runRecorded();
        });
    }

private:
    std::size_t read_ = 0;
};

TEST_F(AskingTheDelegate, HappensAfterEachInterval) {
    addFile(kQuestionInterval);
    system.queues->setMode(testing::Detached::inlined);
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file", answering(true)));
    EXPECT_EQ(calls_, 1);
    EXPECT_EQ(files().size(), 803U); // 800 chunks, the end, and the stream's own
    addFile(kQuestionInterval - 1);
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file", answering(false)));
    EXPECT_EQ(calls_, 1);
    addFile(2 * kQuestionInterval + 1);
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file", answering(true)));
    EXPECT_EQ(calls_, 3);
}

TEST_F(AskingTheDelegate, AnAnswerInTimeCancelsAtTheLastChunkToo) {
    addFile(kQuestionInterval);
    system.queues->setMode(testing::Detached::inlined);
    for (const auto& [hash, algorithm] : kFileHashes)
        EXPECT_EQ(hash("/file", answering(false)), std::nullopt);
    EXPECT_EQ(calls_, 3);
    EXPECT_THAT(questions(), SizeIs(3));
    EXPECT_EQ(files().size(), 3 * 802U); // the end was not read
    EXPECT_EQ(system.disk->openStreams(), 0U);
    EXPECT_THAT(system.consoleLog->messages(), IsEmpty());
}

TEST_F(AskingTheDelegate, ALateAnswerCancelsALaterChunk) {
    addFile(2 * kQuestionInterval);
    system.queues->setMode(testing::Detached::recorded);
    answerAfter(kQuestionInterval + 3 * kChunk);
    EXPECT_EQ(QVFileManager::sha1HashForFile("/file", answering(false)), std::nullopt);
    EXPECT_EQ(calls_, 1);
    EXPECT_EQ(files().size(), 805U); // 803 chunks, and the stream's own
}

TEST_F(AskingTheDelegate, AnAnswerAfterTheEndIsTooLate) {
    addFile(2 * kQuestionInterval);
    system.queues->setMode(testing::Detached::recorded);
    Delegate delegate = answering(false);
    const std::weak_ptr<ChecksumDelegate> watched = delegate;
    EXPECT_EQ(QVFileManager::sha1HashForFile("/file", std::move(delegate)),
              fakeDigest(DigestAlgorithm::sha1, Bytes(2 * kQuestionInterval, 'x')));
    EXPECT_EQ(calls_, 0);
    EXPECT_FALSE(watched.expired()); // the questions hold it
    system.queues->runRecorded();
    EXPECT_EQ(calls_, 2);
    EXPECT_TRUE(watched.expired());
}

TEST_F(AskingTheDelegate, NeverWaitsForASlowOne) {
    const testing::TimeLimit timeLimit;
    addFile(2 * kQuestionInterval);
    std::atomic<bool> mayAnswer = false;
    std::atomic<int> waiting = 0;
    const auto slow = std::make_shared<ChecksumDelegate>(ChecksumDelegate{[&](const Path&) {
        ++waiting;
        testing::eventually([&] { return mayAnswer.load(); });
        return false;
    }});
    EXPECT_TRUE(QVFileManager::sha1HashForFile("/file", slow));
    EXPECT_TRUE(testing::eventually([&] { return waiting == 2; }));
    mayAnswer = true;
    system.queues->join();
}

TEST_F(AskingTheDelegate, LeavesOutOneThatDoesNotRespond) {
    addFile(kQuestionInterval);
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file", std::make_shared<ChecksumDelegate>()));
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file", nullptr));
    EXPECT_TRUE(QVFileManager::md5HashForFile("/file"));
    EXPECT_THAT(questions(), IsEmpty());
}

} // namespace
} // namespace quorvane
