// The programs themselves on real files and file systems, as their users run them.
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/files/faulty_volume.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::size_t kMiB = 1024UL * 1024;

/// Names that lists, terminals and command lines trip over.
const std::vector<std::string> kNames = {"plain",
                                         "with  spaces ",
                                         "-leading dash",
                                         "line\nbreak\n",
                                         "carriage\rreturn\r",
                                         "back\\slash\\",
                                         "\\n",
                                         " *star",
                                         "# no comment",
                                         "umlaut \xc3\xa4",
                                         "invalid \xff\xc3",
                                         std::string(255, 'x')};

class RealPrograms : public ::testing::Test {
protected:
    ToolRun copy(const Arguments& arguments) const {
        return runTool(QVCOPY, arguments, folder_.path());
    }
    ToolRun hash(const Arguments& arguments) const {
        return runTool(QVHASH, arguments, folder_.path());
    }
    /// What a checker of the system says about a list of digests.
    ToolRun check(const std::string& algorithm, const std::string& list) const {
        const Path file = folder_.addFile("list", list);
        return runTool("/usr/bin/" + algorithm + "sum", {"-c", "--strict", "--quiet", file},
                       folder_.path());
    }
    /// Runs a program as a shell does whose files may have 512 KiB.
    ToolRun copyWithinLimit(const std::string& arguments) const {
        const std::string script = "trap '' XFSZ; ulimit -f 1024; exec \"$0\" " + arguments;
        return runTool("/bin/sh", {"-c", script, QVCOPY}, folder_.path());
    }
    std::string content(const std::string& name) const { return contentOf(folder_ / name); }

    const ScratchFolder folder_;
};

TEST_F(RealPrograms, PrintDigestsThatOthersAccept) {
    for (const std::string& name : kNames) folder_.addFile(name, "content of " + name);
    for (const std::string algorithm : {"md5", "sha1", "sha256", "sha512"}) {
        Arguments arguments = {"-a", algorithm, "--"};
        arguments.insert(arguments.end(), kNames.begin(), kNames.end());
        const ToolRun hashed = hash(arguments);
        EXPECT_EQ(hashed.status, 0);
        EXPECT_EQ(hashed.error, "");
        const ToolRun theirs = runTool("/usr/bin/" + algorithm + "sum",
                                       {arguments.begin() + 2, arguments.end()}, folder_.path());
        EXPECT_EQ(hashed.output, theirs.output);
        const ToolRun checked = check(algorithm, hashed.output);
        EXPECT_EQ(checked.status, 0) << checked.output << checked.error;
    }
}

TEST_F(RealPrograms, CopyUnderAnyName) {
    folder_.addFolder("copies");
    for (const std::string& name : kNames) folder_.addFile(name, "content of " + name);
    for (const std::string algorithm : {"md5", "sha1", "sha256", "sha512"}) {
        for (const std::string& name : kNames) {
            const ToolRun copied =
                copy({"--verify", algorithm, "--", name, "copies", "new/" + algorithm + "/b"});
            EXPECT_EQ(copied.status, 0);
            EXPECT_EQ(content("copies/" + name), "content of " + name);
            EXPECT_EQ(copied.error, "");
            EXPECT_EQ(content("new/" + algorithm + "/b"), "content of " + name);
            const ToolRun checked = check(algorithm, copied.output);
            EXPECT_EQ(checked.status, 0) << checked.output << checked.error;
        }
    }
}

TEST_F(RealPrograms, CopyWithTheDatesOfTheSource) {
    const Path source = folder_.addFile("source", "content");
    const timespec times[] = {{1, 0}, {1'000'000'000, 123'456'789}};
    ASSERT_EQ(utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    EXPECT_EQ(copy({"source", "copy"}).status, 0);
    struct stat status {};
    ASSERT_EQ(stat((folder_ / "copy").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 123'456'789);
}

TEST_F(RealPrograms, SayNothingOfASimpleCopy) {
    folder_.addFile("source", std::string(30 * kMiB, 'x'));
    const ToolRun copied = copy({"source", "a", "b"});
    EXPECT_EQ(copied.status, 0);
    EXPECT_EQ(copied.output, "");
    EXPECT_EQ(copied.error, "");
}

TEST_F(RealPrograms, RefuseToCopyAFileOntoItself) {
    const Path source = folder_.addFile("source", "content");
    folder_.addFolder("folder");
    fs::create_hard_link(source, folder_ / "hard");
    fs::create_symlink("source", folder_ / "soft");
    fs::create_symlink("..", folder_ / "folder/up");
    for (const std::string destination :
         {"source", "./folder/../source", "hard", "soft", "folder/up/source", ".", "folder/up"}) {
        const ToolRun copied = copy({"source", "other", destination});
        EXPECT_EQ(copied.status, 1);
        EXPECT_THAT(copied.error, HasSubstr(": is the same file as source\n"));
        EXPECT_EQ(content("source"), "content");
        EXPECT_FALSE(fs::exists(folder_ / "other"));
    }
}

TEST_F(RealPrograms, NoticeADestinationThatTakesNoMore) {
    folder_.addFile("source", std::string(kMiB, 'x'));
    const ToolRun copied = copyWithinLimit("source full");
    EXPECT_EQ(copied.status, 2);
    EXPECT_EQ(copied.output, "");
    EXPECT_EQ(copied.error, "Error writing file " + (folder_ / "full") +
                                ": 1\nqvcopy: full: differs from the source\n");

    const ToolRun verified = copyWithinLimit("--verify sha256 source full");
    EXPECT_EQ(verified.status, 2);
    const ToolRun checked = check("sha256", verified.output);
    EXPECT_EQ(checked.status, 0) << checked.output << checked.error;
    EXPECT_THAT(verified.output, Not(HasSubstr("full")));
}

TEST_F(RealPrograms, NoticeAFullDisk) {
    QV_NEEDS_SUPERUSER();
    folder_.addFile("source", std::string(2 * kMiB, 'x'));
    folder_.addFolder("disk");
    inPrivateMounts([this] {
        mountVolume("tmpfs", folder_ / "disk", "size=1M");
        const ToolRun copied = copy({"--verify", "md5", "source", "disk/a", "b"});
        EXPECT_EQ(copied.status, 2);
        EXPECT_THAT(copied.error, HasSubstr("qvcopy: disk/a: differs from the source\n"));
        EXPECT_EQ(check("md5", copied.output).status, 0);
        EXPECT_EQ(content("b"), content("source"));
        EXPECT_EQ(copy({"source", "disk/c"}).status, 2);
    });
}

TEST_F(RealPrograms, NoticeAByteThatIsReadAsAnother) {
    if (!FaultyVolume::isPossible()) GTEST_SKIP() << "needs file systems of user programs";
    folder_.addFile("source", std::string(kMiB, 'x'));
    folder_.addFolder("disk");
    inPrivateMounts([this] {
        const FaultyVolume volume(folder_ / "disk", {.turnedByte = 700'000});
        const ToolRun copied = copy({"--verify", "sha512", "source", "disk/a", "b"});
        EXPECT_EQ(copied.status, 2);
        EXPECT_THAT(copied.error, HasSubstr("qvcopy: disk/a: differs from the source\n"));
        EXPECT_THAT(copied.output, HasSubstr("  b\n"));
        EXPECT_THAT(copied.output, Not(HasSubstr("disk/a")));
    });
}

TEST_F(RealPrograms, FailForASourceThatCannotBeReadToItsEnd) {
    if (!FaultyVolume::isPossible()) GTEST_SKIP() << "needs file systems of user programs";
    folder_.addFolder("disk");
    inPrivateMounts([this] {
        const FaultyVolume volume(folder_ / "disk", {.unreadableFrom = 700'000});
        folder_.addFile("disk/a", std::string(kMiB, 'x'));
        const ToolRun copied = copy({"--verify", "sha1", "disk/a", "b"});
        EXPECT_EQ(copied.status, 1);
        EXPECT_EQ(copied.output, "");
        EXPECT_EQ(copied.error, "qvcopy: disk/a: could not be read to its end\n");
        for (const std::string algorithm : {"--md5", "--sha256"}) {
            const ToolRun hashed = hash({algorithm, "disk/a"});
            EXPECT_EQ(hashed.status, 1);
            EXPECT_EQ(hashed.output, "");
            EXPECT_EQ(hashed.error, "qvhash: disk/a: could not be hashed\n");
        }
    });
}

TEST_F(RealPrograms, FailForASourceThatCannotBeOpened) {
    const Path secret = folder_.addFile("secret", "content");
    ASSERT_EQ(mkfifo((folder_ / "fifo").c_str(), 0666), 0);
    fs::create_symlink("loop", folder_ / "loop");
    fs::permissions(secret, fs::perms::none);
    asOrdinaryUser(folder_.path(), [this] {
        const auto expectFailure = [this](const std::string& name, const std::string& reason) {
            const ToolRun copied = copy({name, "copy"});
            EXPECT_EQ(copied.status, 1);
            EXPECT_EQ(copied.error, "qvcopy: " + name + ": " + reason + "\n");
            const ToolRun hashed = hash({name});
            EXPECT_EQ(hashed.status, 1);
            EXPECT_EQ(hashed.error, "qvhash: " + name + ": " + reason + "\n");
        };
        expectFailure("missing", "No such file or directory");
        expectFailure("secret", "Permission denied");
        expectFailure("fifo", "No such device or address");
        expectFailure("loop", "Too many levels of symbolic links");
        expectFailure(".", "Is a directory");
        EXPECT_FALSE(fs::exists(folder_ / "copy"));
    });
}

TEST_F(RealPrograms, FailForADestinationThatCannotBeWritten) {
    folder_.addFile("source", "content");
    fs::permissions(folder_.addFile("other", "kept"),
                    fs::perms::owner_read | fs::perms::others_read);
    fs::permissions(folder_.addFolder("folder"), fs::perms::owner_read | fs::perms::owner_exec);
    asOrdinaryUser(folder_.path(), [this] {
        folder_.addFile("mine", "kept");
        for (const std::string name : {"other", "folder/new"}) {
            const ToolRun copied = copy({"source", "mine", name});
            EXPECT_EQ(copied.status, 1);
            EXPECT_EQ(copied.error, "qvcopy: " + name + ": cannot be written\n");
        }
        const ToolRun copied = copy({"source", "mine", "folder/new/file"});
        EXPECT_EQ(copied.status, 1);
        EXPECT_EQ(copied.error, "qvcopy: folder/new/file: its folder cannot be made\n");
        EXPECT_EQ(content("mine"), "kept");
        EXPECT_EQ(content("other"), "kept");
    });
}

TEST_F(RealPrograms, LeaveTheHomeAlone) {
    folder_.addFile("source", "content");
    const Path home = folder_.addFolder("home");
    const std::string script = "HOME=$1 XDG_CACHE_HOME= exec \"$0\" --verify md5 source copy";
    EXPECT_EQ(runTool("/bin/sh", {"-c", script, QVCOPY, home}, folder_.path()).status, 0);
    EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(home), {}), IsEmpty());
}

TEST_F(RealPrograms, FailWhenNobodyTakesTheirOutput) {
    folder_.addFile("source", "content");
    for (const std::string script :
         {"exec \"$0\" --verify md5 source copy >/dev/full", "exec \"$1\" source >/dev/full"}) {
        const ToolRun run = runTool("/bin/sh", {"-c", script, QVCOPY, QVHASH}, folder_.path());
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.error, HasSubstr(": standard output: could not be written\n"));
    }
}

TEST_F(RealPrograms, ExplainThemselves) {
    for (const Path program : {QVCOPY, QVHASH}) {
        const std::string name = fs::path(program).filename();
        const ToolRun help = runTool(program, {"--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.output, StartsWith("usage: " + name + " ["));
        EXPECT_EQ(help.error, "");
        EXPECT_THAT(runTool(program, {"--version"}).output, StartsWith(name + " (Quorvane) "));
        const ToolRun wrong = runTool(program, {"-x", "a", "b"});
        EXPECT_EQ(wrong.status, 64);
        EXPECT_EQ(wrong.output, "");
        EXPECT_EQ(wrong.error, name + ": unknown option -x\n" + help.output);
    }
}

} // namespace
} // namespace quorvane::testing
