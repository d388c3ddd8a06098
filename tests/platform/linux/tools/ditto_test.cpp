#include "platform/linux/tools/ditto/command.h"

#include <filesystem>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"
#include "tests/platform/linux/tools/tree_listing.h"

namespace {

namespace fs = std::filesystem;
using namespace quorvane;
using namespace quorvane::platform::linux_::tools;
using ditto::Command;
using quorvane::testing::contentOf;
using quorvane::testing::itemsOf;
using quorvane::testing::namesIn;
using quorvane::testing::runPython;
using quorvane::testing::runTool;
using quorvane::testing::ScratchFolder;
using quorvane::testing::statusOf;
using quorvane::testing::ToolRun;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

ToolRun run(const Arguments& arguments) { return runTool(QV_DITTO, arguments); }

void setTime(const Path& item, time_t seconds) {
    const timespec times[] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, item.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

class DittoTool : public ::testing::Test {
protected:
    void expectRoundTrip(const Path& source) {
        const ToolRun created = run({"-ck", source, archive_});
        EXPECT_EQ(created.status, 0);
        EXPECT_EQ(created.output + created.error, "");
        const ToolRun unpacked = run({"-xk", archive_, target_});
        EXPECT_EQ(unpacked.status, 0);
        EXPECT_EQ(unpacked.output + unpacked.error, "");
        EXPECT_EQ(itemsOf(target_), itemsOf(source));
    }

    /// The names in the archive, as another reader lists them.
    std::string listed() const { return runTool("/usr/bin/unzip", {"-Z1", archive_}).output; }

    const ScratchFolder folder_;
    const Path archive_ = folder_ / "an archive.zip";
    const Path target_ = folder_ / "new/target";
};

TEST(DittoCommand, IsReadFromTheArguments) {
    for (const Arguments& options : {Arguments{"-ck", "--keepParent"},
                                     {"-c", "-k", "--keepParent"},
                                     {"--keepParent", "-kc", "--"}}) {
        Arguments arguments = options;
        arguments.insert(arguments.end(), {"source", "archive"});
        const Command command = ditto::parseCommand(arguments);
        EXPECT_EQ(command.action, Command::Action::create);
        EXPECT_TRUE(command.keepParent);
        EXPECT_EQ(command.source, "source");
        EXPECT_EQ(command.destination, "archive");
    }
    EXPECT_FALSE(ditto::parseCommand({"-ck", "a", "b"}).keepParent);
    EXPECT_EQ(ditto::parseCommand({"-xk", "a", "b"}).action, Command::Action::extract);
    EXPECT_EQ(ditto::parseCommand({"-ck", "--", "-a", "-b"}).source, "-a");
}

TEST(DittoCommand, IsRefusedWhenItIsNotWhole) {
    const std::vector<Arguments> wrong = {{},
                                          {"a", "b"},
                                          {"-c", "a", "b"},
                                          {"-k", "a", "b"},
                                          {"-cxk", "a", "b"},
                                          {"-ck", "a"},
                                          {"-ck", "a", "b", "c"},
                                          {"-ckz", "a", "b"},
                                          {"-xk", "--keepParent", "a", "b"},
                                          {"-ck", "--other", "a", "b"}};
    for (const Arguments& arguments : wrong)
        EXPECT_THROW(ditto::parseCommand(arguments), UsageError);
}

TEST_F(DittoTool, RestoresWhatItHasArchived) {
    const Path source = folder_.addFolder("source");
    folder_.addFile("source/a folder/file", "content");
    folder_.addFile("source/a folder/empty file");
    folder_.addFile("source/large", std::string(3'000'000, 'x') + "end");
    folder_.addFolder("source/empty");
    ASSERT_EQ(symlink("a folder/file", (source + "/link").c_str()), 0);
    ASSERT_EQ(symlink("/nowhere/at/all", (source + "/broken").c_str()), 0);
    ASSERT_EQ(symlink("loop", (source + "/loop").c_str()), 0);
    ASSERT_EQ(symlink("a folder", (source + "/to a folder").c_str()), 0);
    ASSERT_EQ(chmod((source + "/large").c_str(), 0777), 0);
    setTime(source + "/link", 1'500'000'001);
    setTime(source + "/a folder/file", 443'779'200); // before the format's own first year
    setTime(source + "/large", 4'100'000'000);
    setTime(source + "/a folder", 1'000'000'000);
    ASSERT_EQ(chmod((source + "/a folder").c_str(), 0555), 0);
    expectRoundTrip(source);
}

TEST_F(DittoTool, KeepsNamesByteByByte) {
    const std::vector<std::string> names = {
        "with space", "line\nbreak", "-option",      "back\\slash",
        "...",        "\xc3\xa9",    "e\xcc\x81", // the same letter in one piece and in two
        "\xff\xfe",   "\xc3(",       "\xed\xa0\x80", std::string(255, 'n')};
    const Path source = folder_.addFolder("source");
    for (const std::string& name : names) {
        folder_.addFile("source/" + name, name);
        folder_.addFolder("source/in folders/" + name);
        fs::create_directories(source + "/links");
        ASSERT_EQ(symlink(name.c_str(), (source + "/links/" + name).c_str()), 0);
    }
    expectRoundTrip(source);
}

TEST_F(DittoTool, ArchivesAFolderWithOrWithoutItsName) {
    folder_.addFile("the source/file");
    run({"-ck", folder_ / "the source", archive_});
    EXPECT_EQ(listed(), "file\n");
    run({"-ck", "--keepParent", folder_ / "the source/", archive_});
    EXPECT_EQ(listed(), "the source/\nthe source/file\n");
    runTool(QV_DITTO, {"-ck", "--keepParent", ".", archive_}, folder_ / "the source");
    EXPECT_EQ(listed(), "the source/\nthe source/file\n");
}

TEST_F(DittoTool, ArchivesASingleFileOrLink) {
    const Path file = folder_.addFile("a file", "content");
    run({"-ck", file, archive_});
    EXPECT_EQ(listed(), "a file\n");
    ASSERT_EQ(symlink("..", (folder_ / "link").c_str()), 0);
    run({"-ck", "--keepParent", folder_ / "link", archive_});
    run({"-xk", archive_, target_});
    EXPECT_EQ(fs::read_symlink(target_ + "/link"), "..");
}

TEST_F(DittoTool, ArchivesAnEmptyFolder) {
    folder_.addFolder("empty");
    expectRoundTrip(folder_ / "empty");
    EXPECT_THAT(namesIn(target_), IsEmpty());
}

TEST_F(DittoTool, MakesArchivesThatOthersRead) {
    folder_.addFile("source/f\xc3\xbcr alle", "content");
    folder_.addFolder("source/empty");
    ASSERT_EQ(symlink("empty", (folder_ / "source/link").c_str()), 0);
    run({"-ck", folder_ / "source", archive_});

    EXPECT_EQ(runTool("/usr/bin/unzip", {"-tqq", archive_}).status, 0);
    const Path unzipped = folder_.addFolder("unzipped");
    EXPECT_EQ(runTool("/usr/bin/env", {"LC_ALL=C.UTF-8", "unzip", "-qq", archive_, "-d", unzipped})
                  .status,
              0);
    EXPECT_EQ(itemsOf(unzipped + "/link"), itemsOf(folder_ / "source/link"));
    EXPECT_EQ(contentOf(unzipped + "/f\xc3\xbcr alle"), "content");

    const Path untarred = folder_.addFolder("untarred");
    EXPECT_EQ(
        runTool("/usr/bin/env", {"LC_ALL=C.UTF-8", "bsdtar", "-xpf", archive_, "-C", untarred})
            .status,
        0);
    EXPECT_EQ(itemsOf(untarred), itemsOf(folder_ / "source"));

    EXPECT_EQ(runPython("import sys, zipfile\n"
                        "archive = zipfile.ZipFile(sys.argv[1])\n"
                        "print(archive.testzip(), ascii(archive.namelist()))",
                        {archive_}),
              R"(None ['empty/', 'f\xfcr alle', 'link'])"
              "\n");
}

TEST_F(DittoTool, ReplacesAnArchiveOnlyByAWholeOne) {
    folder_.addFile("source/file");
    folder_.addFile("an archive.zip", "before");
    const ToolRun failed = run({"-ck", folder_ / "missing", archive_});
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.error, "ditto: missing: No such file or directory\n");
    EXPECT_EQ(contentOf(archive_), "before");
    EXPECT_EQ(run({"-ck", folder_ / "source", archive_}).status, 0);
    EXPECT_EQ(listed(), "file\n");
    EXPECT_THAT(namesIn(folder_.path()), ElementsAre("an archive.zip", "source"));
}

TEST_F(DittoTool, LeavesOutWhatNoArchiveHolds) {
    folder_.addFile("source/file", "content");
    ASSERT_EQ(mkfifo((folder_ / "source/fifo").c_str(), 0600), 0);
    const ToolRun created = run({"-ck", folder_ / "source", archive_});
    EXPECT_EQ(created.status, 0);
    EXPECT_EQ(created.error, "ditto: fifo: left out, as it is no file, folder or link\n");
    EXPECT_EQ(listed(), "file\n");
}

TEST_F(DittoTool, LeavesOutTheArchiveItself) {
    folder_.addFile("source/file", "content");
    EXPECT_EQ(run({"-ck", folder_ / "source", folder_ / "source/archive.zip"}).status, 0);
    EXPECT_EQ(runTool("/usr/bin/unzip", {"-Z1", folder_ / "source/archive.zip"}).output, "file\n");
}

TEST_F(DittoTool, MakesNoArchiveWithoutAFileThatItMayNotRead) {
    const Path secret = folder_.addFile("source/folder/secret", "content");
    fs::permissions(secret, fs::perms::none);
    quorvane::testing::asOrdinaryUser(folder_.path(), [&] {
        const ToolRun created = run({"-ck", folder_ / "source", archive_});
        EXPECT_EQ(created.status, 1);
        EXPECT_EQ(created.error, "ditto: folder/secret: Permission denied\n");
        EXPECT_THAT(namesIn(folder_.path()), ElementsAre("source"));
    });
}

TEST_F(DittoTool, MakesArchivesWithThePermissionsOfNewFiles) {
    folder_.addFile("source/file");
    runTool("/bin/sh", {"-c", R"(umask 027; "$0" -ck "$1" "$2"; "$0" -xk "$2" "$3")", QV_DITTO,
                        folder_ / "source", archive_, target_});
    EXPECT_EQ(statusOf(archive_).st_mode & 07777U, 0640U);
    EXPECT_EQ(statusOf(target_).st_mode & 07777U, 0750U);
}

TEST_F(DittoTool, ArchivesDeepTrees) {
    // Deeper than a path may be long, and than descriptors may be open at first.
    runPython("import os, resource, sys\n"
              "os.mkdir(sys.argv[1])\n"
              "os.chdir(sys.argv[1])\n"
              "for level in range(600):\n"
              "    os.mkdir('level' + 'x' * (level % 7))\n"
              "    os.chdir('level' + 'x' * (level % 7))\n"
              "open('bottom', 'w').write('content')",
              {folder_ / "source"});
    const ToolRun created = runTool("/bin/sh", {"-c", R"(ulimit -Sn 64; exec "$0" -ck "$1" "$2")",
                                                QV_DITTO, folder_ / "source", archive_});
    EXPECT_EQ(created.status, 0) << created.error;
    const ToolRun unpacked = run({"-xk", archive_, target_});
    EXPECT_EQ(unpacked.status, 0) << unpacked.error;
    EXPECT_EQ(runTool("/usr/bin/diff", {"-r", folder_ / "source", target_}).status, 2)
        << "the tree is not as deep as it should be";
    EXPECT_EQ(runPython("import os, sys\n"
                        "os.chdir(sys.argv[1])\n"
                        "for level in range(600): os.chdir('level' + 'x' * (level % 7))\n"
                        "print(open('bottom').read(), end='')",
                        {target_}),
              "content");
    runTool("/bin/rm", {"-rf", folder_ / "source", target_});
}

TEST_F(DittoTool, SaysThatADiskIsFull) {
    QV_NEEDS_SUPERUSER();
    folder_.addFile("source/file", runPython("import os, sys\n"
                                             "sys.stdout.flush()\n"
                                             "sys.stdout.buffer.write(os.urandom(2000000))",
                                             {}));
    run({"-ck", folder_ / "source", folder_ / "whole.zip"});
    const Path volume = folder_.addFolder("volume");
    quorvane::testing::inPrivateMounts([&] {
        quorvane::testing::mountVolume("tmpfs", volume, "size=1m");
        // The library forgets its compressor after a write error.
        const ToolRun created =
            runTool("/usr/bin/env", {"ASAN_OPTIONS=detect_leaks=0", QV_DITTO, "-ck",
                                     folder_ / "source", volume + "/archive.zip"});
        EXPECT_EQ(created.status, 1);
        EXPECT_EQ(created.error, "ditto: Write error: No space left on device\n");
        EXPECT_THAT(namesIn(volume), IsEmpty());
        const ToolRun unpacked = run({"-xk", folder_ / "whole.zip", volume + "/target"});
        EXPECT_EQ(unpacked.status, 1);
        EXPECT_THAT(unpacked.error,
                    HasSubstr("ditto: file: Write failed: No space left on device\n"));
        EXPECT_THAT(namesIn(volume), IsEmpty());
    });
}

TEST_F(DittoTool, LeavesNothingBehindWhenItIsInterrupted) {
    folder_.addFile("source/file", "x");
    fs::resize_file(folder_ / "source/file", 20'000'000'000); // a hole, long to compress
    EXPECT_EQ(runPython("import glob, os, signal, subprocess, sys, time\n"
                        "tool = subprocess.Popen(sys.argv[2:], stderr=subprocess.PIPE)\n"
                        "while not glob.glob(sys.argv[1] + '/.archive-*'): time.sleep(0.01)\n"
                        "tool.send_signal(signal.SIGTERM)\n"
                        "print(tool.wait(), tool.stderr.read(), os.listdir(sys.argv[1]))",
                        {folder_.path(), QV_DITTO, "-ck", folder_ / "source", archive_}),
              "1 b'ditto: interrupted\\n' ['source']\n");
}

TEST_F(DittoTool, MakesNoArchiveOfAFileThatIsCutShortMeanwhile) {
    folder_.addFile("source/file", "x");
    fs::resize_file(folder_ / "source/file", 20'000'000'000); // a hole, long to compress
    // Once there is content in the archive, it tells the size that the file had.
    EXPECT_EQ(
        runPython("import glob, os, subprocess, sys, time\n"
                  "tool = subprocess.Popen(sys.argv[2:], stderr=subprocess.PIPE)\n"
                  "def started():\n"
                  "    return any(map(os.path.getsize, glob.glob(sys.argv[1] + '/.archive-*')))\n"
                  "while not started(): time.sleep(0.01)\n"
                  "os.truncate(sys.argv[1] + '/source/file', 1)\n"
                  "print(tool.wait(), tool.stderr.read(), os.listdir(sys.argv[1]))",
                  {folder_.path(), QV_DITTO, "-ck", folder_ / "source", archive_}),
        "1 b'ditto: file: ended before its stated size\\n' ['source']\n");
}

TEST_F(DittoTool, MakesNoArchiveOfAFileWithLessThanItsSize) {
    const ToolRun created = run({"-ck", "/sys/devices/system/cpu/online", archive_});
    EXPECT_EQ(created.status, 1);
    EXPECT_EQ(created.error, "ditto: online: ended before its stated size\n");
    EXPECT_THAT(namesIn(folder_.path()), IsEmpty());
}

TEST_F(DittoTool, ExplainsItself) {
    const ToolRun help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, StartsWith("usage: ditto -c -k [--keepParent] SOURCE ARCHIVE"));
    const ToolRun wrong = run({"-ck", "source"});
    EXPECT_EQ(wrong.status, 64);
    EXPECT_EQ(wrong.error, "ditto: give a source and a destination\n" + help.output);
}

} // namespace
