// Copies that are verified: every destination is judged on its own.
#include "tests/kit/files/verified_copy_fixture.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::kChunk;

constexpr auto kTypes = {VerificationType::md5, VerificationType::sha1, VerificationType::sha256,
                         VerificationType::sha512};

class CopyVerification : public testing::VerifiedCopyTest {
protected:
    /// Every chunk different, some more than the second thread may be behind.
    static Bytes content(std::size_t chunks = 40) {
        Bytes bytes(chunks * kChunk - 5, '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i / kChunk + i % 251);
        return bytes;
    }
    /// From now on what is read back from the path differs in these chunks.
    void spoil(const Path& path, const std::vector<std::size_t>& chunks) {
        system.disk->onRead([this, path, chunks](const Path& read, Bytes& bytes) {
            if (read != path) return;
            const std::size_t number = system.journal->entries("files.write " + path).size();
            if (std::ranges::count(chunks, number - 1) != 0) bytes[100] = '\x7F';
        });
    }
    static Bytes spoiled(Bytes bytes, const std::vector<std::size_t>& chunks) {
        for (const std::size_t chunk : chunks) bytes[chunk * kChunk + 100] = '\x7F';
        return bytes;
    }
};

TEST_F(CopyVerification, ReadsBackEveryChunkFromEveryDestination) {
    system.disk->addFile("/s", Bytes(kChunk + 3, 'x'));
    EXPECT_TRUE(copy({"/d/a", "/d/b"}, VerificationType::sha1));
    EXPECT_THAT(files(), ElementsAre("files.openForReading /s", "files.openTruncated /d/a",
                                     "files.openTruncated /d/b", "files.read /s 65536 bytes",
                                     "files.write /d/a 65536 bytes", "files.seek /d/a 0",
                                     "files.read /d/a 65536 bytes", "files.write /d/b 65536 bytes",
                                     "files.seek /d/b 0", "files.read /d/b 65536 bytes",
                                     "files.read /s 65536 bytes", "files.write /d/a 3 bytes",
                                     "files.seek /d/a 65536", "files.read /d/a 3 bytes",
                                     "files.write /d/b 3 bytes", "files.seek /d/b 65536",
                                     "files.read /d/b 3 bytes", "files.close /s",
                                     "files.close /d/a", "files.close /d/b",
                                     "files.setAttributes /d/a creationDate=0 modificationDate=0",
                                     "files.setAttributes /d/b creationDate=0 modificationDate=0"));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 65539", "finished"));
}

TEST_F(CopyVerification, KnowsTheDigestsOfAll) {
    const Bytes bytes = content();
    system.disk->addFile("/s", bytes);
    for (const VerificationType type : kTypes) {
        EXPECT_TRUE(copy({"/d/a", "/d/b"}, type));
        const MaybeText expected = digest(type, bytes);
        EXPECT_EQ(settings()->sourceChecksum(), expected);
        EXPECT_THAT(*settings()->destChecksums(), ElementsAre(expected, expected));
        EXPECT_EQ(settings()->destChecksum(), std::nullopt);
        EXPECT_EQ(system.disk->content("/d/a"), bytes);
        EXPECT_EQ(system.disk->content("/d/b"), bytes);
    }
    // One digest serves all that hold the same.
    EXPECT_EQ(system.digests->bytesFed(), kTypes.size() * bytes.size());
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(CopyVerification, TellsItsSettingsByKeysToo) {
    system.disk->addFile("/s", "content");
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", {"/d/a", "/d/b"}, VerificationType::md5,
                                                    listener(), 1, std::string("two")));
    const MaybeText expected = digest(VerificationType::md5, "content");
    const auto value = [&](std::string_view key) { return settings()->objectForKey(key); };
    EXPECT_EQ(std::any_cast<Path>(value("source")), "/s");
    EXPECT_THAT(std::any_cast<std::vector<Path>>(value("destinations")),
                ElementsAre("/d/a", "/d/b"));
    EXPECT_EQ(std::any_cast<std::string>(value("operationtype")), "copy");
    EXPECT_EQ(std::any_cast<std::shared_ptr<const FileCopyDelegate>>(value("delegate")),
              settings()->delegate());
    EXPECT_EQ(std::any_cast<int>(value("object")), 1);
    EXPECT_EQ(std::any_cast<std::string>(value("object2")), "two");
    EXPECT_EQ(std::any_cast<std::string>(value("sourceChecksum")), expected);
    EXPECT_FALSE(value("destChecksum").has_value()); // as none has failed
    EXPECT_THAT(std::any_cast<std::vector<MaybeText>>(value("destChecksums")),
                ElementsAre(expected, expected));
    EXPECT_FALSE(value("size").has_value());
}

TEST_F(CopyVerification, OfNothing) {
    system.disk->addFile("/s");
    for (const VerificationType type : kTypes) {
        EXPECT_TRUE(copy({"/d/a"}, type));
        EXPECT_EQ(settings()->sourceChecksum(), digest(type, ""));
        EXPECT_THAT(*settings()->destChecksums(), ElementsAre(digest(type, "")));
    }
    EXPECT_THAT(system.journal->entries("files.seek"), IsEmpty());
}

TEST_F(CopyVerification, FailsOnlyForTheDestinationThatDiffers) {
    const Bytes bytes = content();
    system.disk->addFile("/s", bytes);
    for (const std::vector<std::size_t>& chunks :
         {std::vector<std::size_t>{0}, {3}, {4}, {5, 6, 30}, {38}}) {
        system.journal->clear();
        spoil("/d/b", chunks);
        EXPECT_TRUE(copy({"/d/a", "/d/b", "/d/c"}, VerificationType::sha512));
        const MaybeText right = digest(VerificationType::sha512, bytes);
        const MaybeText wrong = digest(VerificationType::sha512, spoiled(bytes, chunks));
        EXPECT_EQ(settings()->sourceChecksum(), right);
        EXPECT_EQ(settings()->destChecksum(), wrong);
        EXPECT_THAT(*settings()->destChecksums(), ElementsAre(right, wrong, right));
    }
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(CopyVerification, TellsTheDelegateOfEachInOrder) {
    system.disk->addFile("/s", "content");
    system.disk->onRead([](const Path& path, Bytes& bytes) {
        if (path == "/d/a") bytes = "another";
        if (path == "/d/c") bytes = "third";
    });
    const auto delegate = listener();
    std::vector<MaybeText> told;
    delegate->fileCopyVerificationFailed = [&](const CopySettings& settings, const Path& path) {
        told.emplace_back(path);
        told.push_back(settings->destChecksum());
        EXPECT_EQ(settings->sourceChecksum(), digest(VerificationType::md5, "content"));
        EXPECT_FALSE(settings->destChecksums()); // only after the last
    };
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", {"/d/a", "/d/b", "/d/c"},
                                                    VerificationType::md5, delegate));
    EXPECT_THAT(told, ElementsAre("/d/a", digest(VerificationType::md5, "another"), "/d/c",
                                  digest(VerificationType::md5, "third")));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 7", "finished"));
}

TEST_F(CopyVerification, FailuresAreNoFailureOfTheCopy) {
    system.disk->addFile("/s", "content");
    system.disk->onRead([](const Path& path, Bytes& bytes) {
        if (path == "/d/a") bytes.clear();
    });
    const auto silent = listener();
    silent->fileCopyVerificationFailed = nullptr;
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", {"/d/a"}, VerificationType::md5, silent));
    EXPECT_EQ(settings()->destChecksum(), std::nullopt);
    EXPECT_THAT(*settings()->destChecksums(), ElementsAre(digest(VerificationType::md5, "")));
    EXPECT_TRUE(QVFileManager::copyFileWithProgress("/s", {"/d/a"}, VerificationType::md5));
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(CopyVerification, AShortWriteFailsIt) {
    const Bytes bytes = content(3);
    system.disk->addFile("/s", bytes);
    system.disk->addFile("/d/a");
    system.disk->setMostBytes("/d/a", kChunk + 10);
    EXPECT_TRUE(copy({"/d/a", "/d/b"}, VerificationType::md5));
    EXPECT_THAT(console(), ElementsAre("Error writing file /d/a: 1", "Error writing file /d/a: 1"));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 196603", "verificationFailed /d/a", "finished"));
    EXPECT_EQ(settings()->destChecksum(),
              digest(VerificationType::md5, bytes.substr(0, kChunk + 10)));
}

TEST_F(CopyVerification, AFailureToSeekIsToldInFiveLines) {
    const Bytes bytes = content(3);
    system.disk->addFile("/s", bytes);
    system.disk->onRead([&](const Path& path, Bytes&) {
        if (path == "/d/a") system.disk->failAlways("seek", "/d/a", {29, "Illegal seek"});
    });
    EXPECT_TRUE(copy({"/d/a", "/d/b"}, VerificationType::sha256));
    EXPECT_THAT(console(), ElementsAre("Error: unable to seek within file /d/a", "cur pos: 65536",
                                       "read size: 65536", "errno: 29", "err: 0",
                                       "Error: unable to seek within file /d/a", "cur pos: 131072",
                                       "read size: 65531", "errno: 29", "err: 0"));
    EXPECT_EQ(settings()->destChecksum(),
              digest(VerificationType::sha256, bytes.substr(0, kChunk)));
    EXPECT_EQ(system.disk->content("/d/a"), bytes);
    EXPECT_EQ(system.journal->entries("files.read /d/a").size(), 3U) << "it is read all the same";
}

TEST_F(CopyVerification, TheErrorIndicatorStays) {
    system.disk->addFile("/s", Bytes(2 * kChunk, 'x'));
    system.disk->failNext("read", "/d/a", {5, "Input/output error"});
    system.disk->onRead([&](const Path& path, Bytes&) {
        if (path == "/s") system.disk->failNext("seek", "/d/b", {29, "Illegal seek"});
    });
    EXPECT_TRUE(copy({"/d/a", "/d/b"}, VerificationType::md5));
    system.disk->failAlways("seek", "/d/a", {29, "Illegal seek"});
    system.disk->failNext("read", "/d/a", {5, "Input/output error"});
    system.disk->failNext("write", "/d/a", {28, "No space left on device"});
    EXPECT_TRUE(copy({"/d/a"}, VerificationType::md5));
    const std::vector<std::string> lines = console();
    EXPECT_EQ(lines.at(4), "err: 0");
    EXPECT_EQ(lines.at(lines.size() - 11), "Error writing file /d/a: 1");
    EXPECT_EQ(lines.at(lines.size() - 6), "err: 1");
    EXPECT_EQ(lines.back(), "err: 1");
}

TEST_F(CopyVerification, AReadErrorWhileReadingBackFailsIt) {
    const Bytes bytes = content(2);
    system.disk->addFile("/s", bytes);
    system.disk->failNext("read", "/d/a", {5, "Input/output error"});
    EXPECT_TRUE(copy({"/d/a"}, VerificationType::md5));
    EXPECT_EQ(settings()->destChecksum(), digest(VerificationType::md5, bytes.substr(kChunk)));
    EXPECT_EQ(system.disk->content("/d/a"), bytes);
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(CopyVerification, ADigestThatTheSystemForbidsVerifiesNothing) {
    system.disk->addFile("/s", "content");
    system.digests->forbidden = {platform::DigestAlgorithm::md5};
    EXPECT_TRUE(copy({"/d/a", "/d/b"}, VerificationType::md5));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 7", "verificationFailed /d/a",
                                     "verificationFailed /d/b", "finished"));
    EXPECT_EQ(settings()->sourceChecksum(), std::nullopt);
    EXPECT_THAT(*settings()->destChecksums(), ElementsAre(std::nullopt, std::nullopt));
    EXPECT_EQ(system.disk->content("/d/b"), "content");
}

TEST_F(CopyVerification, TheSamePathTwiceIsVerifiedTwice) {
    const Bytes bytes = content(6);
    system.disk->addFile("/s", bytes);
    EXPECT_TRUE(copy({"/d/a", "/d/a"}, VerificationType::sha1));
    const MaybeText expected = digest(VerificationType::sha1, bytes);
    EXPECT_THAT(*settings()->destChecksums(), ElementsAre(expected, expected));
    EXPECT_THAT(calls(), ElementsAre("bytesWritten 393211", "finished"));
}

} // namespace
} // namespace quorvane
