// The programs themselves on real files and file systems, as their users run them.
#include <algorithm>
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
            const ToolRun copied = copy({"--force", "--verify", algorithm, "--to", "copies", "--to",
                                         "new/" + algorithm, "--", name});
            EXPECT_EQ(copied.status, 0);
            EXPECT_EQ(content("copies/" + name), "content of " + name);
            EXPECT_EQ(copied.error, "");
            EXPECT_EQ(content("new/" + algorithm + "/" + name), "content of " + name);
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
    const ToolRun copied = copy({"source", "--to", "a", "--to", "b"});
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
        const ToolRun copied = copy({"--force", "source", destination});
        EXPECT_EQ(copied.status, 1);
        EXPECT_THAT(copied.error, HasSubstr(": is the same file as source\n"));
        EXPECT_EQ(content("source"), "content");
    }
}

// As people call cp, with the folder last: every file but the first was once taken for a
// destination.
TEST_F(RealPrograms, CopySeveralFilesIntoAFolder) {
    folder_.addFolder("t/d");
    for (const std::string name : {"1.mov", "2.mov", "3.mov"}) folder_.addFile("t/" + name, name);
    const ToolRun copied = copy({"--verify", "sha256", "t/1.mov", "t/2.mov", "t/3.mov", "t/d"});
    EXPECT_EQ(copied.status, 0) << copied.error;
    for (const std::string name : {"1.mov", "2.mov", "3.mov"}) {
        EXPECT_EQ(content("t/" + name), name);
        EXPECT_EQ(content("t/d/" + name), name);
        EXPECT_THAT(copied.output, HasSubstr("  t/d/" + name + "\n"));
    }
    const ToolRun checked = check("sha256", copied.output);
    EXPECT_EQ(checked.status, 0) << checked.output << checked.error;
}

TEST_F(RealPrograms, CopyToSeveralFolders) {
    folder_.addFolder("d");
    for (const std::string name : {"1", "2"}) folder_.addFile(name, name);
    const ToolRun copied = copy({"--to", "d", "--verify=md5", "1", "2", "--to=new/e"});
    EXPECT_EQ(copied.status, 0) << copied.error;
    for (const std::string name : {"d/1", "new/e/1"}) EXPECT_EQ(content(name), "1");
    for (const std::string name : {"d/2", "new/e/2"}) EXPECT_EQ(content(name), "2");
    EXPECT_EQ(check("md5", copied.output).status, 0);
    EXPECT_EQ(std::ranges::count(copied.output, '\n'), 6);
}

TEST_F(RealPrograms, LeaveFilesThatAreThereAlone) {
    folder_.addFile("source", "new");
    folder_.addFile("other", "kept");
    folder_.addFile("folder/source", "kept");
    fs::create_symlink("other", folder_ / "link");
    fs::create_symlink("nowhere", folder_ / "dangling");
    const auto expectRefusal = [this](const std::string& name, const std::string& reason) {
        const ToolRun copied = copy({"source", name});
        EXPECT_EQ(copied.status, 1);
        EXPECT_EQ(copied.error, "qvcopy: " + reason + "\n");
    };
    expectRefusal("other", "other: exists already; --force replaces its content");
    expectRefusal("folder", "folder/source: exists already; --force replaces its content");
    expectRefusal("link", "link: is a link, and links are not followed here");
    expectRefusal("dangling", "dangling: is a link, and links are not followed here");
    EXPECT_EQ(content("other") + content("folder/source"), "keptkept");
    EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
}

TEST_F(RealPrograms, ReplaceContentOnlyWhenForcedAndOnlyThatOfFiles) {
    folder_.addFile("source", "new");
    const Path other = folder_.addFile("other", "the old content");
    fs::permissions(other, fs::perms::owner_read | fs::perms::owner_write);
    folder_.addFile("target", "kept");
    fs::create_symlink("target", folder_ / "link");
    fs::create_symlink("nowhere", folder_ / "dangling");
    ASSERT_EQ(mkfifo((folder_ / "fifo").c_str(), 0666), 0);
    EXPECT_EQ(copy({"--force", "source", "other"}).status, 0);
    EXPECT_EQ(content("other"), "new");
    EXPECT_EQ(fs::status(other).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const auto expectRefusal = [this](const std::string& name, const std::string& reason) {
        const ToolRun copied = copy({"--force", "source", name});
        EXPECT_EQ(copied.status, 1);
        EXPECT_EQ(copied.error, "qvcopy: " + name + ": " + reason + "\n");
    };
    expectRefusal("link", "is a link, and links are not followed here");
    expectRefusal("dangling", "is a link, and links are not followed here");
    expectRefusal("fifo", "is no regular file");
    expectRefusal("/dev/null", "is no regular file");
    EXPECT_EQ(content("target"), "kept");
    EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
}

TEST_F(RealPrograms, RefuseAFolderAsASourceBeforeAnythingIsOpened) {
    folder_.addFile("film", "content");
    folder_.addFolder("a");
    folder_.addFolder("b");
    fs::create_symlink("a", folder_ / "link");
    for (const Arguments& arguments :
         {Arguments{"film", "a", "b"}, Arguments{"film", "link", "b"}, Arguments{"a", "b"},
          Arguments{"missing", "a", "b"}, Arguments{"--to", "b", "film", "a"}}) {
        const ToolRun copied = copy(arguments);
        EXPECT_EQ(copied.status, 2);
        EXPECT_THAT(copied.error, HasSubstr("is a folder, and only files are copied"));
        EXPECT_THAT(copied.error, HasSubstr("--to"));
        EXPECT_TRUE(fs::is_empty(folder_ / "a") && fs::is_empty(folder_ / "b"));
    }
}

TEST_F(RealPrograms, RefuseSeveralSourcesWithoutAFolder) {
    for (const std::string name : {"1", "2", "3"}) folder_.addFile(name, name);
    for (const std::string last : {"3", "missing"}) {
        const ToolRun copied = copy({"--force", "1", "2", last});
        EXPECT_EQ(copied.status, 2);
        EXPECT_THAT(copied.error, StartsWith("qvcopy: " + last + ": is no folder"));
        EXPECT_THAT(copied.error, HasSubstr("--to"));
    }
    EXPECT_EQ(content("1") + content("2") + content("3"), "123");
    EXPECT_FALSE(fs::exists(folder_ / "missing"));
}

TEST_F(RealPrograms, RefuseTwoSourcesOfOneName) {
    folder_.addFile("a/film", "one");
    folder_.addFile("b/film", "other");
    folder_.addFolder("d");
    const ToolRun copied = copy({"a/film", "b/film", "d"});
    EXPECT_EQ(copied.status, 1);
    EXPECT_EQ(copied.error, "qvcopy: d/film: a/film and b/film would both be copied there\n");
    EXPECT_TRUE(fs::is_empty(folder_ / "d"));
}

TEST_F(RealPrograms, NoticeADestinationThatTakesNoMore) {
    folder_.addFile("source", std::string(kMiB, 'x'));
    const ToolRun copied = copyWithinLimit("source full");
    EXPECT_EQ(copied.status, 2);
    EXPECT_EQ(copied.output, "");
    EXPECT_EQ(copied.error, "Error writing file " + (folder_ / "full") +
                                ": 1\nqvcopy: full: differs from the source\n");

    const ToolRun verified = copyWithinLimit("--force --verify sha256 source full");
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
        const ToolRun copied = copy({"--verify", "md5", "source", "--to", "disk", "--to", "b"});
        EXPECT_EQ(copied.status, 2);
        EXPECT_THAT(copied.error, HasSubstr("qvcopy: disk/source: differs from the source\n"));
        EXPECT_EQ(check("md5", copied.output).status, 0);
        EXPECT_EQ(content("b/source"), content("source"));
        EXPECT_EQ(copy({"source", "disk/c"}).status, 2);
    });
}

TEST_F(RealPrograms, NoticeAByteThatIsReadAsAnother) {
    if (!FaultyVolume::isPossible()) GTEST_SKIP() << "needs file systems of user programs";
    folder_.addFile("source", std::string(kMiB, 'x'));
    folder_.addFolder("disk");
    inPrivateMounts([this] {
        const FaultyVolume volume(folder_ / "disk", {.turnedByte = 700'000});
        const ToolRun copied = copy({"--verify", "sha512", "source", "--to", "disk", "--to", "b"});
        EXPECT_EQ(copied.status, 2);
        EXPECT_THAT(copied.error, HasSubstr("qvcopy: disk/source: differs from the source\n"));
        EXPECT_THAT(copied.output, HasSubstr("  b/source\n"));
        EXPECT_THAT(copied.output, Not(HasSubstr("disk/source")));
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
        EXPECT_EQ(copied.error, "qvcopy: disk/a: could not be read to its end\n"
                                "qvcopy: b: is not whole\n");
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
        EXPECT_EQ(hash({"."}).error, "qvhash: .: Is a directory\n");
        EXPECT_FALSE(fs::exists(folder_ / "copy"));
    });
}

TEST_F(RealPrograms, FailForADestinationThatCannotBeWritten) {
    folder_.addFile("source", "content");
    fs::permissions(folder_.addFile("other", "kept"),
                    fs::perms::owner_read | fs::perms::others_read);
    fs::permissions(folder_.addFolder("folder"), fs::perms::owner_read | fs::perms::owner_exec);
    asOrdinaryUser(folder_.path(), [this] {
        folder_.addFile("mine/source", "kept");
        const auto expectFailure = [this](const Arguments& places, const std::string& reason) {
            Arguments arguments = {"--force", "source"};
            arguments.insert(arguments.end(), places.begin(), places.end());
            const ToolRun copied = copy(arguments);
            EXPECT_EQ(copied.status, 1);
            EXPECT_EQ(copied.error, "qvcopy: " + reason + "\n");
            EXPECT_EQ(content("mine/source"), "kept");
        };
        expectFailure({"other"}, "other: Permission denied");
        expectFailure({"--to", "mine", "--to", "folder"}, "folder/source: cannot be written");
        expectFailure({"--to", "mine", "--to", "folder/new"},
                      "folder/new/source: its folder cannot be made");
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

TEST_F(RealPrograms, FailWithoutAnOutputThatTheyNeed) {
    folder_.addFile("source", "content");
    const auto run = [this](const std::string& script) {
        return runTool("/bin/sh", {"-c", script, QVCOPY, QVHASH}, folder_.path());
    };
    for (const std::string script :
         {"exec \"$1\" source >&-", "exec \"$1\" source >&- <&-", "exec \"$0\" --help >&-",
          "exec \"$0\" --verify md5 source verified >&-", "exec \"$1\" --version >&-"}) {
        const ToolRun closed = run(script);
        EXPECT_EQ(closed.status, 1) << script;
        EXPECT_THAT(closed.error, ::testing::EndsWith(": standard output: is closed\n")) << script;
    }
    EXPECT_FALSE(fs::exists(folder_ / "verified"));
    const ToolRun quiet = run("exec \"$0\" source copy >&-");
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(quiet.error, "");
    EXPECT_EQ(content("copy"), "content");
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
