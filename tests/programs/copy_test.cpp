#include "programs/qvcopy/copy.h"

#include "programs/checksum_line.h"
#include "tests/programs/program_fixture.h"

namespace quorvane::programs::qvcopy {
namespace {

using ::testing::ElementsAre;
using testing::fakeDigest;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::size_t kInterval = 20'971'520;

class CopyProgram : public testing::ProgramTest {
protected:
    CopyProgram() {
        system.disk->addFile("/s", "content");
        system.disk->addFolder("/d");
    }

    ExitStatus run(const Command& command) { return qvcopy::copy(command, commandLine, output); }
    ExitStatus copy(VerificationType verification, const std::string& destination) {
        return run(
            {.verification = verification, .sources = {"/s"}, .destinations = {destination}});
    }
    /// Over a file that is there.
    ExitStatus replace(VerificationType verification, const std::string& destination) {
        return run({.verification = verification,
                    .replaces = true,
                    .sources = {"/s"},
                    .destinations = {destination}});
    }
    ExitStatus copyTo(VerificationType verification, std::vector<std::string> sources,
                      std::vector<std::string> folders) {
        return run({.verification = verification,
                    .toFolders = true,
                    .sources = std::move(sources),
                    .destinations = std::move(folders)});
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
    EXPECT_EQ(copy(VerificationType::none, "/d/a"), ExitStatus::done);
    EXPECT_EQ(copyTo(VerificationType::none, {"/s"}, {"/d", "/e"}), ExitStatus::done);
    for (const Path path : {"/d/a", "/d/s", "/e/s"})
        EXPECT_EQ(system.disk->content(path), "content");
    EXPECT_EQ(system.disk->openStreams(), 0U);
    EXPECT_EQ(output.str() + error(), "");
}

TEST_F(CopyProgram, PrintsTheDigestsOfWhatItVerified) {
    EXPECT_EQ(copyTo(VerificationType::sha1, {"/s"}, {"/a\nb", "/d"}), ExitStatus::done);
    EXPECT_EQ(output.str(),
              line("content", "/s") + line("content", "/a\nb/s") + line("content", "/d/s"));
    EXPECT_EQ(error(), "");
}

TEST_F(CopyProgram, NamesTheDestinationThatDiffers) {
    spoil("/b/s");
    EXPECT_EQ(copyTo(VerificationType::sha1, {"/s"}, {"/a", "/b", "/c"}), ExitStatus::differs);
    EXPECT_EQ(output.str(),
              line("content", "/s") + line("content", "/a/s") + line("content", "/c/s"));
    EXPECT_EQ(error(), "qvcopy: /b/s: differs from the source\n");
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
    EXPECT_EQ(replace(VerificationType::none, "/d/b"), ExitStatus::differs);
    // Once, however many chunks are lost.
    EXPECT_THAT(system.consoleLog->messages(), ElementsAre("Error writing file /d/b: 1"));
    EXPECT_EQ(error(), "qvcopy: /d/b: differs from the source\n");
}

TEST_F(CopyProgram, TellsDestinationsApartWhoseNamesBeginAlike) {
    system.disk->addFile("/e/s: 1/s");
    system.disk->setMostBytes("/e/s: 1/s", 1);
    EXPECT_EQ(run({.replaces = true,
                   .toFolders = true,
                   .sources = {"/s"},
                   .destinations = {"/e", "/e/s: 1"}}),
              ExitStatus::differs);
    EXPECT_EQ(error(), "qvcopy: /e/s: 1/s: differs from the source\n");
}

TEST_F(CopyProgram, TakesBackADestinationThatWasReadBackRight) {
    EXPECT_EQ(copy(VerificationType::none, "/d/a"), ExitStatus::done);
    system.disk->addFile("/s", "newer");
    EXPECT_EQ(replace(VerificationType::sha1, "/d/a"), ExitStatus::done);
    EXPECT_EQ(system.disk->content("/d/a"), "newer");
}

TEST_F(CopyProgram, CopiesEachOfSeveralSources) {
    system.disk->addFile("/t", "other");
    system.disk->addFile("/u");
    EXPECT_EQ(run({.verification = VerificationType::sha1,
                   .sources = {"/s", "/t", "/u"},
                   .destinations = {"/d"}}),
              ExitStatus::done);
    EXPECT_EQ(output.str(), line("content", "/s") + line("content", "/d/s") + line("other", "/t") +
                                line("other", "/d/t") + line("", "/u") + line("", "/d/u"));
    EXPECT_EQ(system.disk->content("/s") + system.disk->content("/t"), "contentother");
    EXPECT_EQ(error(), "");
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(CopyProgram, GoesOnAfterASourceThatFails) {
    system.disk->addFile("/t", "other");
    system.disk->failAlways("read", "/s", {5, "Input/output error"});
    spoil("/d/t");
    EXPECT_EQ(copyTo(VerificationType::sha1, {"/s", "/t"}, {"/d", "/e"}), ExitStatus::failed);
    EXPECT_EQ(output.str(), line("other", "/t") + line("other", "/e/t"));
    EXPECT_EQ(error(), "qvcopy: /s: could not be read to its end\n"
                       "qvcopy: /d/t: differs from the source\n");
    EXPECT_FALSE(system.disk->contains("/d/s") || system.disk->contains("/e/s"));
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(CopyProgram, EmptiesNothingBeforeAllDestinationsAreOpen) {
    system.disk->addFile("/d/s", "kept");
    system.disk->failAlways("openNew", "/f/s", {28, "No space left on device"});
    EXPECT_EQ(run({.replaces = true,
                   .toFolders = true,
                   .sources = {"/s"},
                   .destinations = {"/d", "/e", "/f"}}),
              ExitStatus::failed);
    EXPECT_EQ(error(), "qvcopy: /f/s: No space left on device\n");
    EXPECT_EQ(system.disk->content("/d/s"), "kept");
    EXPECT_FALSE(system.disk->contains("/e/s"));
    EXPECT_THAT(system.journal->entries("files.truncate"), IsEmpty());
    EXPECT_EQ(system.disk->openStreams(), 0U);
}

TEST_F(CopyProgram, LeavesAFileAloneThatAppearsMeanwhile) {
    system.disk->onRead([this](const Path& path, const Bytes&) {
        if (path == "/s") system.disk->addFile("/d/t", "new");
    });
    system.disk->addFile("/t", "other");
    EXPECT_EQ(copyTo(VerificationType::none, {"/s", "/t"}, {"/d"}), ExitStatus::failed);
    EXPECT_EQ(error(), "qvcopy: /d/t: exists already; --force replaces its content\n");
    EXPECT_EQ(system.disk->content("/d/t"), "new");
}

// As on a disk that does not tell "A" from "a".
TEST_F(CopyProgram, NeverReplacesACopyOfItsOwn) {
    system.disk->addFile("/S", "other");
    system.disk->addFolder("/e");
    system.disk->onRead([this](const Path& path, const Bytes&) {
        if (path == "/s") (void)system.disk->moveItem("/d/s", "/d/S");
    });
    EXPECT_EQ(
        run({.replaces = true, .toFolders = true, .sources = {"/s", "/S"}, .destinations = {"/d"}}),
        ExitStatus::failed);
    EXPECT_EQ(system.disk->content("/d/S"), "content");
    EXPECT_THAT(error(), HasSubstr("qvcopy: /d/S: is the same file as /d/s\n"));
}

TEST_F(CopyProgram, WritesToWhatItOpenedWhateverIsPutInItsPlace) {
    system.disk->addFile("/victim", "kept");
    system.disk->setNow(platform::FileTime(std::chrono::seconds(9)));
    system.disk->addFile("/s", "content");
    system.disk->onRead([this](const Path& path, const Bytes&) {
        if (path == "/s") system.disk->addLink("/d/a", "/victim");
    });
    EXPECT_EQ(copy(VerificationType::none, "/d/a"), ExitStatus::done);
    EXPECT_EQ(system.disk->content("/victim"), "kept");
    EXPECT_EQ(system.disk->attributes("/victim").value().modificationDate, platform::FileTime());
}

TEST_F(CopyProgram, FailsWithWhatTheKitTellsTheConsole) {
    system.disk->addFile("/d/a", "kept");
    system.disk->failAlways("truncate", "/d/a", {5, "Input/output error"});
    EXPECT_EQ(replace(VerificationType::sha1, "/d/a"), ExitStatus::failed);
    EXPECT_THAT(system.consoleLog->messages(),
                ElementsAre("Error: Unable to open destination file /d/a. "
                            "Aborting copy process..."));
    EXPECT_EQ(output.str() + error(), "");
    EXPECT_EQ(system.disk->content("/d/a"), "kept");
}

TEST_F(CopyProgram, FailsWhenTheSourceCannotBeReadToItsEnd) {
    system.disk->failAlways("read", "/s", {5, "Input/output error"});
    EXPECT_EQ(copy(VerificationType::sha1, "/d/a"), ExitStatus::failed);
    EXPECT_EQ(output.str(), "");
    EXPECT_EQ(error(), "qvcopy: /s: could not be read to its end\n");
    EXPECT_FALSE(system.disk->contains("/d/a"));
}

TEST_F(CopyProgram, NamesWhatIsNotWhole) {
    system.disk->addFile("/s", Bytes(300'000, 'x'));
    system.disk->addFile("/e/s", "old");
    system.disk->onRead([this](const Path&, const Bytes&) {
        system.disk->failAlways("read", "/s", {5, "Input/output error"});
    });
    EXPECT_EQ(
        run({.replaces = true, .toFolders = true, .sources = {"/s"}, .destinations = {"/d", "/e"}}),
        ExitStatus::failed);
    EXPECT_EQ(error(), "qvcopy: /s: could not be read to its end\n"
                       "qvcopy: /d/s: is not whole\n"
                       "qvcopy: /e/s: is not whole\n");
    EXPECT_EQ(system.disk->content("/d/s"), Bytes(65'536, 'x'));
}

TEST_F(CopyProgram, SaysSoBesideADestinationThatFailed) {
    system.disk->addFile("/s", Bytes(300'000, 'x'));
    system.disk->addFile("/d/a");
    system.disk->setMostBytes("/d/a", 1);
    system.disk->onRead([this](const Path&, Bytes&) {
        system.disk->failAlways("read", "/s", {5, "Input/output error"});
    });
    EXPECT_EQ(replace(VerificationType::none, "/d/a"), ExitStatus::failed);
    EXPECT_THAT(system.consoleLog->messages(), ElementsAre("Error writing file /d/a: 1"));
    EXPECT_EQ(error(), "qvcopy: /s: could not be read to its end\n"
                       "qvcopy: /d/a: is not whole\n");
}

TEST_F(CopyProgram, IsCancelledAtTheNextInterval) {
    system.disk->addFile("/s", Bytes(kInterval + 1, 'x'));
    commandLine.interrupted = true;
    EXPECT_EQ(copy(VerificationType::sha1, "/d/a"), ExitStatus::cancelled);
    EXPECT_EQ(system.disk->content("/d/a").size(), kInterval);
    EXPECT_EQ(output.str(), "");
    EXPECT_EQ(error(), "qvcopy: cancelled, the destinations are not whole\n");
}

TEST_F(CopyProgram, IsCancelledBetweenSources) {
    system.disk->addFile("/t", "other");
    system.disk->onRead([this](const Path&, const Bytes&) { commandLine.interrupted = true; });
    EXPECT_EQ(copyTo(VerificationType::sha1, {"/s", "/t"}, {"/d"}), ExitStatus::cancelled);
    EXPECT_EQ(output.str(), line("content", "/s") + line("content", "/d/s"));
    EXPECT_EQ(error(), "qvcopy: cancelled before /t was copied\n");
    EXPECT_FALSE(system.disk->contains("/d/t"));
}

TEST_F(CopyProgram, IsDoneWhereItEndsBefore) {
    commandLine.interrupted = true;
    EXPECT_EQ(copy(VerificationType::none, "/d/a"), ExitStatus::done);
    EXPECT_EQ(system.disk->content("/d/a"), "content");
}

TEST_F(CopyProgram, CopiesNothingWhoseDigestsNobodyTakes) {
    commandLine.standardOutput = false;
    EXPECT_THROW(copy(VerificationType::sha1, "/d/a"), Failure);
    EXPECT_FALSE(system.disk->contains("/d/a"));
    EXPECT_EQ(copy(VerificationType::none, "/d/a"), ExitStatus::done);
}

TEST_F(CopyProgram, EndsWithTheOutput) {
    system.disk->addFile("/t", "other");
    output.setstate(std::ios::badbit);
    copyTo(VerificationType::sha1, {"/s", "/t"}, {"/d"});
    EXPECT_EQ(error(), "");
}

TEST_F(CopyProgram, ShowsProgressOnATerminal) {
    system.disk->addFile("/s", Bytes(2 * kInterval, 'x'));
    commandLine.columns = 60;
    system.disk->onRead([this](const Path&, Bytes&) { system.queues->advance(0.001); });
    EXPECT_EQ(copy(VerificationType::none, "/d/a"), ExitStatus::done);
    const std::string shown = error();
    EXPECT_THAT(shown, StartsWith("\r[            ]    0%  0 B of 40.00 MB"));
    EXPECT_THAT(shown, HasSubstr("\r[######      ]   50%  0:01 left  "));
    EXPECT_THAT(shown, ::testing::EndsWith(" \r"));
    EXPECT_EQ(output.str(), "");
}

TEST_F(CopyProgram, ShowsProgressOfAllSources) {
    system.disk->addFile("/s", Bytes(kInterval, 'x'));
    system.disk->addFile("/t", Bytes(3 * kInterval, 'x'));
    commandLine.columns = 60;
    system.disk->onRead([this](const Path&, Bytes&) { system.queues->advance(0.001); });
    EXPECT_EQ(copyTo(VerificationType::none, {"/s", "/t"}, {"/d"}), ExitStatus::done);
    const std::string shown = error();
    EXPECT_THAT(shown, StartsWith("\r[            ]    0%  0 B of 80.00 MB"));
    EXPECT_THAT(shown, HasSubstr("]   25%"));
    EXPECT_THAT(shown, HasSubstr("]   50%"));
    EXPECT_THAT(shown, HasSubstr("]   75%"));
    EXPECT_THAT(shown, ::testing::EndsWith(" \r"));
}

TEST_F(CopyProgram, ShowsTheSizeOfWhatALinkLeadsTo) {
    system.disk->addLink("/l", "/s");
    commandLine.columns = 60;
    EXPECT_EQ(run({.sources = {"/l"}, .destinations = {"/d"}}), ExitStatus::done);
    EXPECT_THAT(error(), HasSubstr("0 B of 7 B"));
    EXPECT_EQ(system.disk->content("/d/l"), "content");
}

TEST_F(CopyProgram, TakesProgressOffForMessages) {
    system.disk->addFile("/s", Bytes(3 * kInterval, 'x'));
    system.disk->addFile("/d/b");
    system.disk->setMostBytes("/d/b", kInterval);
    commandLine.columns = 60;
    EXPECT_EQ(replace(VerificationType::none, "/d/b"), ExitStatus::differs);
    EXPECT_THAT(error(), ::testing::EndsWith(" \rqvcopy: /d/b: differs from the source\n"));
}

TEST_F(CopyProgram, PutsTheServicesBack) {
    const platform::Services* before = &platform::services();
    copy(VerificationType::none, "/d/a");
    EXPECT_EQ(&platform::services(), before);
}

} // namespace
} // namespace quorvane::programs::qvcopy
