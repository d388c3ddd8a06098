#include "programs/qvhash/hash.h"

#include "programs/checksum_line.h"
#include "tests/programs/program_fixture.h"

namespace quorvane::programs::qvhash {
namespace {

using platform::DigestAlgorithm;
using ::testing::EndsWith;
using testing::fakeDigest;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::size_t kInterval = 52'428'800;
constexpr auto kAlgorithms = {DigestAlgorithm::md5, DigestAlgorithm::sha1, DigestAlgorithm::sha256,
                              DigestAlgorithm::sha512};
/// One that the kit reads whole files for, and the one that it does not.
constexpr auto kBothWays = {DigestAlgorithm::md5, DigestAlgorithm::sha256};

class HashProgram : public testing::ProgramTest {
protected:
    ExitStatus hash(DigestAlgorithm algorithm, std::vector<std::string> files) {
        output.str({});
        return qvhash::hash({algorithm, std::move(files)}, commandLine, output);
    }
    static std::string line(DigestAlgorithm algorithm, std::string_view bytes,
                            std::string_view name) {
        return checksumLine(fakeDigest(algorithm, bytes), name);
    }
};

TEST_F(HashProgram, PrintsTheDigestOfEachFile) {
    const Bytes large(200'000, 'x');
    system.disk->addFile("/a", "content");
    system.disk->addFile("/b\n\\", large);
    system.disk->addFile("/c");
    for (const DigestAlgorithm algorithm : kAlgorithms) {
        EXPECT_EQ(hash(algorithm, {"/a", "/b\n\\", "/c"}), ExitStatus::done);
        EXPECT_EQ(output.str(), line(algorithm, "content", "/a") +
                                    line(algorithm, large, "/b\n\\") + line(algorithm, "", "/c"));
    }
    EXPECT_EQ(error(), "");
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(HashProgram, GoesOnAfterAFileThatFails) {
    system.disk->addFile("/a", "content");
    system.disk->addFile("/secret");
    system.disk->addFolder("/folder");
    system.disk->failAlways("openForReading", "/secret", {13, "Permission denied"});
    EXPECT_EQ(hash(DigestAlgorithm::sha256, {"/none", "", "/folder", "/secret", "/a"}),
              ExitStatus::failed);
    EXPECT_EQ(output.str(), line(DigestAlgorithm::sha256, "content", "/a"));
    EXPECT_EQ(error(), "qvhash: /none: No such file or directory\n"
                       "qvhash: \"\": No such file or directory\n"
                       "qvhash: /folder: Is a directory\n"
                       "qvhash: /secret: Permission denied\n");
    EXPECT_THAT(system.consoleLog->messages(), IsEmpty());
}

TEST_F(HashProgram, FailsForAFileThatCannotBeReadToItsEnd) {
    system.disk->addFile("/a", "content");
    system.disk->failAlways("read", "/a", {5, "Input/output error"});
    for (const DigestAlgorithm algorithm : kAlgorithms) {
        EXPECT_EQ(hash(algorithm, {"/a"}), ExitStatus::failed);
        EXPECT_EQ(output.str(), "");
        EXPECT_EQ(error(), "qvhash: /a: could not be hashed\n");
    }
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(HashProgram, FailsForAnAlgorithmThatTheSystemForbids) {
    system.disk->addFile("/a", "content");
    for (const DigestAlgorithm algorithm : kAlgorithms) {
        system.digests->forbidden = {algorithm};
        EXPECT_EQ(hash(algorithm, {"/a"}), ExitStatus::failed);
        EXPECT_EQ(output.str(), "");
        EXPECT_EQ(error(), "qvhash: /a: could not be hashed\n");
    }
}

TEST_F(HashProgram, IsCancelledAtTheNextInterval) {
    system.disk->addFile("/a", Bytes(kInterval + 100'000, 'x'));
    system.disk->addFile("/b");
    for (const DigestAlgorithm algorithm : kBothWays) {
        std::size_t read = 0;
        commandLine.interrupted = false;
        system.disk->onRead([&](const Path&, const Bytes& bytes) {
            read += bytes.size();
            commandLine.interrupted = true;
        });
        EXPECT_EQ(hash(algorithm, {"/a", "/b"}), ExitStatus::cancelled);
        EXPECT_EQ(read, kInterval);
        EXPECT_EQ(output.str(), "");
        EXPECT_EQ(error(), "qvhash: cancelled\n");
    }
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(HashProgram, IsCancelledBetweenFiles) {
    system.disk->addFile("/a", "content");
    system.disk->addFile("/b");
    system.disk->onRead([this](const Path&, const Bytes&) { commandLine.interrupted = true; });
    EXPECT_EQ(hash(DigestAlgorithm::md5, {"/a", "/b"}), ExitStatus::cancelled);
    EXPECT_EQ(output.str(), line(DigestAlgorithm::md5, "content", "/a"));
    EXPECT_EQ(error(), "qvhash: cancelled\n");
}

TEST_F(HashProgram, EndsWithTheOutput) {
    system.disk->addFile("/a", "content");
    output.setstate(std::ios::badbit);
    hash(DigestAlgorithm::sha256, {"/a", "/none"});
    EXPECT_EQ(error(), "");
}

TEST_F(HashProgram, ReadsNothingWithoutAnOutput) {
    system.disk->addFile("/a", "content");
    commandLine.standardOutput = false;
    EXPECT_THROW(hash(DigestAlgorithm::sha256, {"/a"}), Failure);
    EXPECT_THAT(system.journal->entries("files."), IsEmpty());
}

TEST_F(HashProgram, ShowsProgressOfLargeFilesOnATerminal) {
    system.disk->addFile("/a", Bytes(kInterval * 2, 'x'));
    system.disk->addFile("/b", Bytes(kInterval - 1, 'x'));
    commandLine.columns = 60;
    system.disk->onRead([this](const Path&, const Bytes&) { system.queues->advance(0.001); });
    for (const DigestAlgorithm algorithm : kBothWays) {
        EXPECT_EQ(hash(algorithm, {"/a"}), ExitStatus::done);
        const std::string shown = error();
        EXPECT_THAT(shown, StartsWith("\r[######      ]   50%  0:01 left  "));
        EXPECT_THAT(shown, EndsWith(" \r"));
        EXPECT_EQ(hash(algorithm, {"/b"}), ExitStatus::done);
        EXPECT_EQ(error(), "");
    }
}

} // namespace
} // namespace quorvane::programs::qvhash
