// What unpacking does to the folders around it, also where it fails.
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/tools/hostile_archive.h"

namespace {

namespace fs = std::filesystem;
using namespace quorvane;
using quorvane::testing::asOrdinaryUser;
using quorvane::testing::contentOf;
using quorvane::testing::inPrivateMounts;
using quorvane::testing::mountVolume;
using quorvane::testing::namesIn;
using quorvane::testing::runPython;
using quorvane::testing::runTool;
using quorvane::testing::statusOf;
using quorvane::testing::ToolRun;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

unsigned modeOf(const Path& item) { return statusOf(item).st_mode & 07777U; }

class Unpacking : public quorvane::testing::HostileArchive {
protected:
    ToolRun unpackUnder(const std::string& settings, const Path& target) {
        return runTool("/bin/sh",
                       {"-c", settings + R"(; exec "$0" -xk "$@")", QV_DITTO, archive_, target});
    }
    /// What fails changes nothing in the folder that is there, nor beside it.
    void expectNothingDone(const ::testing::Matcher<std::string>& error) {
        const auto before = state();
        const ToolRun run = unpackInto(there_);
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.error, error);
        EXPECT_EQ(state(), before);
    }
    /// Starts the tool, does something as soon as it is at work in the folder, and returns its
    /// status.
    std::string unpackWhile(const Path& target, const Path& workPlace, const std::string& action) {
        return runPython("import glob, os, signal, subprocess, sys, time\n"
                         "tool = subprocess.Popen(sys.argv[3:], stderr=subprocess.PIPE)\n"
                         "target, place = sys.argv[2], sys.argv[1]\n"
                         "def is_at_work(): return glob.glob(place + '/.*/?*')\n"
                         "while not is_at_work(): time.sleep(0.001)\n" +
                             action + "\nprint(tool.wait(), tool.stderr.read())",
                         {workPlace, target, QV_DITTO, "-xk", archive_, target});
    }
    /// Takes a while to unpack.
    void makeLarge() {
        make("import random\n"
             "archive.writestr('large', random.randbytes(8_000_000), zipfile.ZIP_BZIP2)\n"
             "add('other')");
    }
    /// Gives all that there is to the ordinary user.
    void handOver() {
        if (quorvane::testing::isSuperuser())
            runTool("/bin/chown",
                    {"-R", std::to_string(quorvane::testing::kOrdinaryUser), folder_.path()});
    }
    /// Everything but the archive, and but times, which a folder has from what was in it last.
    std::string state() const {
        return runTool("/usr/bin/find",
                       {folder_.path(), "-not", "-name", "a.zip", "-printf", "%P %M %s %l\n"})
            .output;
    }
};

TEST_F(Unpacking, MakesTheFoldersAboveTheNewOne) {
    make("add('d/file', 'content')");
    const ToolRun run = unpackUnder("umask 027", folder_ / "a/./b//c/");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(contentOf(folder_ / "a/b/c/d/file"), "content");
    for (const char* made : {"a", "a/b", "a/b/c", "a/b/c/d"})
        EXPECT_EQ(modeOf(folder_ / made), 0750U) << made;
    EXPECT_THAT(namesIn(folder_.path()), ElementsAre("a", "a.zip", "outside", "there"));
    EXPECT_THAT(namesIn(folder_ / "a"), ElementsAre("b"));
}

TEST_F(Unpacking, LeavesNoFolderAboveANewOneThatItCannotFill) {
    make("add('file'); add('../x')");
    EXPECT_EQ(unpackInto(folder_ / "a/b/c").status, 1);
    EXPECT_EQ(unpackInto(there_ + "/a/b").status, 1);
    EXPECT_THAT(namesIn(folder_.path()), ElementsAre("a.zip", "outside", "there"));
    EXPECT_THAT(namesIn(there_), IsEmpty());
}

TEST_F(Unpacking, GoesNowhereThroughWhatIsMissing) {
    make("add('file')");
    for (const char* target : {"missing/../new", "missing/..", "a.zip/new"}) {
        EXPECT_EQ(unpackInto(folder_ / target).status, 1) << target;
        EXPECT_THAT(namesIn(folder_.path()), ElementsAre("a.zip", "outside", "there"));
    }
    fs::create_symlink("missing", folder_ / "link");
    EXPECT_EQ(unpackInto(folder_ / "link").status, 1);
    EXPECT_EQ(unpackInto(folder_ / "link/new").status, 1);
    EXPECT_THAT(namesIn(folder_.path()), ElementsAre("a.zip", "link", "outside", "there"));
}

TEST_F(Unpacking, FollowsALinkToTheFolder) {
    make("add('file', 'content')");
    fs::create_directory_symlink(there_, folder_ / "link");
    EXPECT_EQ(unpackInto(folder_ / "link/").status, 0);
    EXPECT_THAT(namesIn(there_), ElementsAre("file"));
}

TEST_F(Unpacking, ReplacesNoFolderThatAppearsMeanwhile) {
    makeLarge();
    EXPECT_EQ(unpackWhile(folder_ / "new", folder_.path(), "os.mkdir(target)"),
              "1 b'ditto: " + folder_ / "new" + ": File exists\\n'\n");
    EXPECT_THAT(namesIn(folder_ / "new"), IsEmpty());
    EXPECT_THAT(namesIn(folder_.path()), ElementsAre("a.zip", "new", "outside", "there"));
}

TEST_F(Unpacking, LeavesNothingBehindWhenItIsInterrupted) {
    makeLarge();
    folder_.addFile("there/other", "before");
    const auto before = state();
    for (const char* signal : {"SIGINT", "SIGTERM", "SIGHUP"}) {
        const std::string action = std::string("tool.send_signal(signal.") + signal + ")";
        EXPECT_EQ(unpackWhile(folder_ / "a/new", folder_.path(), action),
                  "1 b'ditto: interrupted\\n'\n");
        EXPECT_EQ(unpackWhile(there_, there_, action), "1 b'ditto: interrupted\\n'\n");
    }
    EXPECT_EQ(state(), before);
}

TEST_F(Unpacking, IsInterruptedBetweenFoldersToo) {
    make("for n in range(30000): add('folder %d/' % n, '', FOLDER)");
    EXPECT_EQ(unpackWhile(folder_ / "new", folder_.path(), "tool.terminate()"),
              "1 b'ditto: interrupted\\n'\n");
    EXPECT_THAT(namesIn(folder_.path()), ElementsAre("a.zip", "outside", "there"));
}

TEST_F(Unpacking, LeavesAFolderAsItWasWhereTheDiskIsFull) {
    QV_NEEDS_SUPERUSER();
    make("import random\nadd('file', 'new'); add('large', random.randbytes(2_000_000))");
    inPrivateMounts([&] {
        mountVolume("tmpfs", there_, "size=1m");
        folder_.addFile("there/file", "before");
        expectNothingDone(HasSubstr("ditto: large: Write failed: No space left on device\n"));
    });
}

TEST_F(Unpacking, ObeysALimitOfFileSizes) {
    make("add('small'); add('large', bytes(2_000_000))");
    const auto before = state();
    const ToolRun run = unpackUnder("ulimit -f 100", folder_ / "new");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("ditto: large: Write failed: File too large\n"));
    EXPECT_EQ(state(), before);
}

TEST_F(Unpacking, EndsInOrderWhereNobodyReadsItsMessages) {
    make("add('../x'); add('file')");
    const auto before = state();
    EXPECT_EQ(runPython("import os, subprocess, sys\n"
                        "end, errors = os.pipe()\n"
                        "os.close(end)\n"
                        "print(subprocess.run(sys.argv[1:], stderr=errors).returncode)",
                        {QV_DITTO, "-xk", archive_, folder_ / "new"}),
              "1\n");
    EXPECT_EQ(state(), before);
}

TEST_F(Unpacking, AddsToAFolderThatIsThere) {
    folder_.addFile("there/kept", "kept");
    folder_.addFile("there/file", "before");
    folder_.addFile("there/d/kept", "kept");
    folder_.addFile("there/d/file", "before");
    fs::create_symlink("kept", there_ + "/becomes a file");
    fs::create_symlink("kept", there_ + "/becomes another");
    make("add('file', 'after'); add('d/file', 'after'); add('d/e/file', 'after')\n"
         "add('becomes a file', 'after')\n"
         "add('becomes another', 'after', LINK); add('new/file', 'after')");
    const ToolRun run = unpackInto(there_);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.error, "");
    EXPECT_THAT(namesIn(there_),
                ElementsAre("becomes a file", "becomes another", "d", "file", "kept", "new"));
    for (const char* item : {"kept", "d/kept"}) EXPECT_EQ(contentOf(there_ + "/" + item), "kept");
    for (const char* item : {"file", "d/file", "d/e/file", "becomes a file", "new/file"})
        EXPECT_EQ(contentOf(there_ + "/" + item), "after") << item;
    EXPECT_EQ(fs::read_symlink(there_ + "/becomes another"), "after");
}

TEST_F(Unpacking, SetsPermissionsAndTimesOfTheFoldersThatAreListed) {
    for (const char* folder : {"listed", "unlisted"}) {
        folder_.addFile(std::string("there/") + folder + "/kept");
        ASSERT_EQ(chmod((there_ + "/" + folder).c_str(), 0710), 0);
    }
    make("add('listed/', '', stat.S_IFDIR | 0o555); add('listed/x'); add('unlisted/x')\n"
         "add('new/', '', stat.S_IFDIR | 0o555); add('new/x')");
    handOver();
    asOrdinaryUser(folder_.path(), [&] { EXPECT_EQ(unpackUnder("umask 0", there_).status, 0); });
    EXPECT_EQ(modeOf(there_ + "/listed"), 0555U);
    EXPECT_EQ(statusOf(there_ + "/listed").st_mtime, statusOf(there_ + "/new").st_mtime);
    EXPECT_EQ(modeOf(there_ + "/unlisted"), 0710U);
    EXPECT_EQ(modeOf(there_ + "/new"), 0555U);
    for (const char* folder : {"listed", "unlisted", "new"})
        EXPECT_EQ(contentOf(there_ + "/" + folder + "/x"), "evil");
}

TEST_F(Unpacking, LeavesAFolderAsItWasWhereAnItemDoesNotFit) {
    folder_.addFile("there/d/kept");
    fs::create_directory_symlink(outside_, there_ + "/link");
    make("add('a'); add('d')");
    expectNothingDone("ditto: d: a folder is in its place\n");
    make("add('a'); add('d/kept/x')");
    expectNothingDone("ditto: d/kept: a file is in the folder's place\n");
    make("add('a'); add('d/kept/', '', FOLDER)");
    expectNothingDone("ditto: d/kept: a file is in the folder's place\n");
    make("add('a'); add('link/x')");
    expectNothingDone("ditto: link: a link is in the folder's place\n");
    make("add('a'); add('../x')");
    expectNothingDone("ditto: ../x: leads out of the folder\n");
}

TEST_F(Unpacking, LeavesAFolderAsItWasWhereItMayNotWrite) {
    folder_.addFile("there/d/kept");
    make("add('a'); add('d/x'); add('e/y')");
    handOver();
    asOrdinaryUser(folder_.path(), [&] {
        ASSERT_EQ(chmod((there_ + "/d").c_str(), 0555), 0);
        expectNothingDone("ditto: d/x: Permission denied\n");
        ASSERT_EQ(chmod(there_.c_str(), 0555), 0);
        expectNothingDone(EndsWith(": Permission denied\n"));
        ASSERT_EQ(chmod(there_.c_str(), 0755), 0);
    });
}

TEST_F(Unpacking, LeavesAFolderAsItWasWhereAnotherVolumeIsInIt) {
    QV_NEEDS_SUPERUSER();
    const Path volume = folder_.addFolder("there/volume");
    make("add('a'); add('volume/x')");
    inPrivateMounts([&] {
        mountVolume("tmpfs", volume);
        expectNothingDone("ditto: volume: is on another file system there\n");
        quorvane::testing::bindFolder(outside_, volume);
        expectNothingDone("ditto: volume: is on another file system there\n");
    });
}

TEST_F(Unpacking, AddsToDeepTrees) {
    make("name = '/'.join(['level'] * 600)\nadd(name + '/first', 'content')");
    EXPECT_EQ(unpackUnder("ulimit -n 100", there_).status, 0);
    make("name = '/'.join(['level'] * 600)\nadd(name + '/second', 'content')");
    const ToolRun run = unpackUnder("ulimit -n 100", there_);
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(runTool("/usr/bin/find", {there_, "-type", "f", "-printf", "%f\n"}).output,
              "first\nsecond\n");
}

} // namespace
