#include "programs/qvcopy/copy.h"

#include "programs/checksum_line.h"
#include "tests/programs/program_fixture.h"

namespace quorvane::programs::qvcopy {
namespace {

using ::testing::ElementsAre;
using testing::fakeDigest;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::size_t kInterval = 20'971'520;

class CopyProgram : public testing::ProgramTest {
protected:
    CopyProgram() {
        system.disk->addFile("/s", "content");
        system.disk->addFolder("/d");
    }

    ExitStatus copy(VerificationType verification, std::vector<std::string> destinations) {
        return qvcopy::copy({verification, "/s", std::move(destinations)}, commandLine, output);
    }
    static std::string line(std::string_view bytes, std::string_view name) {
        return checksumLine(fakeDigest(platform::DigestAlgorithm::sha1, bytes), name);
    }
    /// From now on what is read back from the path differs.
    void spoil(const Path& path) {
        system.disk->onRead([path](const Path& read, Bytes& bytes) {
            if (read == path && !bytes.empty()) bytes[0] = '\x7F';
        });
    }
};

TEST_F(CopyProgram, CopiesAndPrintsNothingUnlessAsked) {
    EXPECT_EQ(copy(VerificationType::none, {"/d/a", "/d/b"}), ExitStatus::done);
    EXPECT_EQ(system.disk->content("/d/a"), "content");
    EXPECT_EQ(system.disk->content("/d/b"), "content");
    EXPECT_EQ(output.str() + error(), "");
}

TEST_F(CopyProgram, PrintsTheDigestsOfWhatItVerified) {
    EXPECT_EQ(copy(VerificationType::sha1, {"/d/a\nb", "/d"}), ExitStatus::done);
    EXPECT_EQ(output.str(),
              line("content", "/s") + line("content", "/d/a\nb") + line("content", "/d/s"));
    EXPECT_EQ(error(), "");
}

TEST_F(CopyProgram, NamesTheDestinationThatDiffers) {
    spoil("/d/b");
    EXPECT_EQ(copy(VerificationType::sha1, {"/d/a", "/d/b", "/d/c"}), ExitStatus::differs);
    EXPECT_EQ(output.str(),
              line("content", "/s") + line("content", "/d/a") + line("content", "/d/c"));
    EXPECT_EQ(error(), "qvcopy: /d/b: differs from the source\n");
}

TEST_F(CopyProgram, VerifiesNothingByAnAlgorithmThatTheSystemForbids) {
    system.digests->forbidden = {platform::DigestAlgorithm::md5};
    EXPECT_EQ(copy(VerificationType::md5, {"/d/a"}), ExitStatus::differs);
    EXPECT_EQ(output.str(), "");
    EXPECT_EQ(error(), "qvcopy: /d/a: differs from the source\n");
}

TEST_F(CopyProgram, NoticesAFullDiskWithoutVerification) {
    system.disk->addFile("/s", Bytes(300'000, 'x'));
    system.disk->addFile("/d/b");
    system.disk->setMostBytes("/d/b", 100'000);
    EXPECT_EQ(copy(VerificationType::none, {"/d/a", "/d/b"}), ExitStatus::differs);
    // Once, however many chunks are lost.
    EXPECT_THAT(system.consoleLog->messages(), ElementsAre("Error writing file /d/b: 1"));
    EXPECT_EQ(error(), "qvcopy: /d/b: differs from the source\n");
}

TEST_F(CopyProgram, TellsDestinationsApartWhoseNamesBeginAlike) {
    system.disk->addFile("/d/b: 1");
    system.disk->setMostBytes("/d/b: 1", 1);
    EXPECT_EQ(copy(VerificationType::none, {"/d/b", "/d/b: 1"}), ExitStatus::differs);
    EXPECT_EQ(error(), "qvcopy: /d/b: 1: differs from the source\n");
}

TEST_F(CopyProgram, TakesBackADestinationThatWasReadBackRight) {
    EXPECT_EQ(copy(VerificationType::none, {"/d/a"}), ExitStatus::done);
    system.disk->addFile("/s", "newer");
    EXPECT_EQ(copy(VerificationType::sha1, {"/d/a"}), ExitStatus::done);
    EXPECT_EQ(system.disk->content("/d/a"), "newer");
}

TEST_F(CopyProgram, FailsWithWhatTheKitTellsTheConsole) {
    system.disk->failAlways("openTruncated", "/d/a", {28, "No space left on device"});
    EXPECT_EQ(copy(VerificationType::sha1, {"/d/a"}), ExitStatus::failed);
    EXPECT_THAT(system.consoleLog->messages(),
                ElementsAre("Error: Unable to open destination file /d/a. "
                            "Aborting copy process..."));
    EXPECT_EQ(output.str() + error(), "");
}

TEST_F(CopyProgram, FailsWhenTheSourceCannotBeReadToItsEnd) {
    system.disk->failAlways("read", "/s", {5, "Input/output error"});
    EXPECT_EQ(copy(VerificationType::sha1, {"/d/a"}), ExitStatus::failed);
    EXPECT_EQ(output.str(), "");
    EXPECT_EQ(error(), "qvcopy: /s: could not be read to its end\n");
}

TEST_F(CopyProgram, SaysSoBesideADestinationThatFailed) {
    system.disk->addFile("/s", Bytes(300'000, 'x'));
    system.disk->addFile("/d/a");
    system.disk->setMostBytes("/d/a", 1);
    system.disk->onRead([this](const Path&, Bytes&) {
        system.disk->failAlways("read", "/s", {5, "Input/output error"});
    });
    EXPECT_EQ(copy(VerificationType::none, {"/d/a"}), ExitStatus::failed);
    EXPECT_THAT(system.consoleLog->messages(), ElementsAre("Error writing file /d/a: 1"));
    EXPECT_EQ(error(), "qvcopy: /s: could not be read to its end\n");
}

TEST_F(CopyProgram, IsCancelledAtTheNextInterval) {
    system.disk->addFile("/s", Bytes(kInterval + 1, 'x'));
    commandLine.interrupted = true;
    EXPECT_EQ(copy(VerificationType::sha1, {"/d/a"}), ExitStatus::cancelled);
    EXPECT_EQ(system.disk->content("/d/a").size(), kInterval);
    EXPECT_EQ(output.str(), "");
    EXPECT_EQ(error(), "qvcopy: cancelled, the destinations are not whole\n");
}

TEST_F(CopyProgram, IsDoneWhereItEndsBefore) {
    commandLine.interrupted = true;
    EXPECT_EQ(copy(VerificationType::none, {"/d/a"}), ExitStatus::done);
    EXPECT_EQ(system.disk->content("/d/a"), "content");
}

TEST_F(CopyProgram, ShowsProgressOnATerminal) {
    system.disk->addFile("/s", Bytes(2 * kInterval, 'x'));
    commandLine.columns = 60;
    system.disk->onRead([this](const Path&, Bytes&) { system.queues->advance(0.001); });
    EXPECT_EQ(copy(VerificationType::none, {"/d/a"}), ExitStatus::done);
    const std::string shown = error();
    EXPECT_THAT(shown, StartsWith("\r[            ]    0%  0 B of 40.00 MB"));
    EXPECT_THAT(shown, HasSubstr("\r[######      ]   50%  0:01 left  "));
    EXPECT_THAT(shown, ::testing::EndsWith(" \r"));
    EXPECT_EQ(output.str(), "");
}

TEST_F(CopyProgram, ShowsTheSizeOfWhatALinkLeadsTo) {
    system.disk->addLink("/l", "/s");
    commandLine.columns = 60;
    EXPECT_EQ(qvcopy::copy({VerificationType::none, "/l", {"/d"}}, commandLine, output),
              ExitStatus::done);
    EXPECT_THAT(error(), HasSubstr("0 B of 7 B"));
    EXPECT_EQ(system.disk->content("/d/l"), "content");
}

TEST_F(CopyProgram, TakesProgressOffForMessages) {
    system.disk->addFile("/s", Bytes(3 * kInterval, 'x'));
    system.disk->addFile("/d/b");
    system.disk->setMostBytes("/d/b", kInterval);
    commandLine.columns = 60;
    EXPECT_EQ(copy(VerificationType::none, {"/d/b"}), ExitStatus::differs);
    EXPECT_THAT(error(), ::testing::EndsWith(" \rqvcopy: /d/b: differs from the source\n"));
}

TEST_F(CopyProgram, PutsTheServicesBack) {
    const platform::Services* before = &platform::services();
    copy(VerificationType::none, {"/d/a"});
    EXPECT_EQ(&platform::services(), before);
}

} // namespace
} // namespace quorvane::programs::qvcopy
