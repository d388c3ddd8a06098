// Archives that nobody's archiver makes by itself.
#include "platform/linux/tools/ditto/extract.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/tools/hostile_archive.h"

namespace {

namespace fs = std::filesystem;
using namespace quorvane;
using platform::linux_::tools::ditto::nameRefusal;
using quorvane::testing::contentOf;
using quorvane::testing::HostileArchive;
using quorvane::testing::namesIn;
using quorvane::testing::ToolRun;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

TEST(EntryNames, StayInTheFolder) {
    for (const char* name : {"a", "a/b", "a/", "./a", "a//b", "..a", "a..", "a/..b/c", "...", "."})
        EXPECT_EQ(nameRefusal(name), "") << name;
    for (const char* name : {"..", "../a", "a/..", "a/../b", "a/../", "./.."})
        EXPECT_EQ(nameRefusal(name), "leads out of the folder") << name;
    EXPECT_EQ(nameRefusal("/a"), "is an absolute name");
    EXPECT_EQ(nameRefusal("//a"), "is an absolute name");
    EXPECT_EQ(nameRefusal(""), "has no name");
}

TEST_F(HostileArchive, CannotNameWhatIsOutside) {
    make("add('../outside/x'); add('a/../../outside/y'); add('good')");
    expectRefusal("ditto: ../outside/x: leads out of the folder\n"
                  "ditto: a/../../outside/y: leads out of the folder\n");
    make("add(outside + '/x')");
    expectRefusal("ditto: " + outside_ + "/x: is an absolute name\n");
}

TEST_F(HostileArchive, CannotReachOutThroughALink) {
    make("add('link', outside, LINK); add('link/x')");
    expectRefusal("ditto: link/x: lies beyond a link\n");
    make("add('link', outside, LINK); add('link/', '', FOLDER); add('link/x')");
    expectRefusal("ditto: link/: lies beyond a link\nditto: link/x: lies beyond a link\n");
    make("add('d/link', '../..', LINK); add('d/link/outside/x')");
    expectRefusal("ditto: d/link/outside/x: lies beyond a link\n");
    make("add('a', '.', LINK); add('a/b', outside, LINK); add('a/b/x')");
    expectRefusal("ditto: a/b: lies beyond a link\nditto: a/b/x: lies beyond a link\n");
}

TEST_F(HostileArchive, CannotReachOutThroughALinkThatIsThere) {
    fs::create_symlink(outside_, there_ + "/link");
    make("add('link/x'); add('good', 'content')");
    const ToolRun run = unpackInto(there_);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error, "ditto: link: a link is in the folder's place\n");
    EXPECT_THAT(namesIn(there_), ElementsAre("link"));
    EXPECT_THAT(namesIn(outside_), IsEmpty());
}

TEST_F(HostileArchive, ReplacesALinkAndNotWhatItLeadsTo) {
    folder_.addFile("there/victim", "before");
    make("add('link', '../there/victim', LINK); add('link', 'after')");
    EXPECT_EQ(unpackInto(folder_ / "new").status, 0);
    EXPECT_EQ(contentOf(folder_ / "new/link"), "after");
    EXPECT_EQ(contentOf(there_ + "/victim"), "before");
}

TEST_F(HostileArchive, ChangesNoPermissionsThroughALink) {
    ASSERT_EQ(chmod(outside_.c_str(), 0700), 0);
    make("add('d/', '', FOLDER | 0o777); add('d', outside, LINK)");
    unpackInto(folder_ / "new");
    EXPECT_EQ(fs::status(outside_).permissions(), fs::perms::owner_all);
}

TEST_F(HostileArchive, LetsTheLastOfEqualNamesCount) {
    make("add('x', 'first'); add('x', 'second')");
    EXPECT_EQ(unpackInto(folder_ / "new").status, 0);
    EXPECT_EQ(contentOf(folder_ / "new/x"), "second");
}

TEST_F(HostileArchive, GivesNobodysRightsAway) {
    make("add('tool', 'content', stat.S_IFREG | 0o6755)");
    EXPECT_EQ(unpackInto(folder_ / "new").status, 0);
    struct stat status {};
    ASSERT_EQ(stat((folder_ / "new/tool").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0755U);
}

TEST_F(HostileArchive, MakesNoDevices) {
    make("add('fifo', '', stat.S_IFIFO | 0o666); add('disk', '', stat.S_IFBLK | 0o666)");
    expectRefusal("ditto: disk: is no file, folder or link\n");
    EXPECT_EQ(unpackInto(there_).status, 1);
    EXPECT_THAT(namesIn(there_), IsEmpty());
}

TEST_F(HostileArchive, IsNoArchiveAtAll) {
    for (const std::string& content : {std::string(), std::string("PK\3\4"), std::string(1000, 'x'),
                                       std::string("PK\5\6") + std::string(18, '\xff')}) {
        std::ofstream(archive_, std::ios::binary) << content;
        const ToolRun run = unpackInto(folder_ / "new");
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.error, HasSubstr("ditto: " + archive_ + ": "));
        EXPECT_THAT(namesIn(folder_.path()), UnorderedElementsAre("a.zip", "outside", "there"));
    }
}

TEST_F(HostileArchive, IsNoFile) {
    ASSERT_EQ(mkfifo(archive_.c_str(), 0600), 0);
    expectRefusal("ditto: " + archive_ + ": is no file\n");
}

TEST_F(HostileArchive, IsDamaged) {
    make("add('a', 'content'); add('b', ''.join(map(str, range(5000)))); add('c', 'content')");
    std::string bytes = contentOf(archive_);
    bytes[bytes.size() / 2] ^= 0x55;
    std::ofstream(archive_, std::ios::binary) << bytes;
    const ToolRun run = unpackInto(there_);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("ditto: b: "));
    EXPECT_THAT(namesIn(there_), IsEmpty());
    EXPECT_EQ(unpackInto(folder_ / "new").status, 1);
    EXPECT_FALSE(fs::exists(folder_ / "new"));
}

TEST_F(HostileArchive, IsCutShortAnywhere) {
    make("add('\u00e9/', '', FOLDER); add('\u00e9/file', 'content'); add('link', 'x', LINK)");
    const std::string whole = contentOf(archive_);
    for (std::size_t size = 0; size < whole.size(); size += 7) {
        std::ofstream(archive_, std::ios::binary) << whole.substr(0, size);
        EXPECT_EQ(unpackInto(folder_ / "new").status, 1) << size;
        EXPECT_FALSE(fs::exists(folder_ / "new")) << size;
    }
}

TEST_F(HostileArchive, HasManyEntries) {
    make("for n in range(10000): add('folder %d/\u00e9 %d' % (n % 100, n), str(n))");
    const ToolRun run = unpackInto(folder_ / "new");
    EXPECT_EQ(run.status, 0) << run.error;
    const auto isFile = [](const fs::directory_entry& entry) { return entry.is_regular_file(); };
    EXPECT_EQ(std::count_if(fs::recursive_directory_iterator(folder_ / "new"), {}, isFile), 10000);
    EXPECT_EQ(contentOf(folder_ / "new/folder 77/\xc3\xa9 4277"), "4277");
}

TEST_F(HostileArchive, LeavesNoReadOnlyFoldersBehind) {
    make("add('d/', '', stat.S_IFDIR | 0o500); add('d/file'); add('../x')");
    quorvane::testing::asOrdinaryUser(
        folder_.path(), [&] { expectRefusal("ditto: ../x: leads out of the folder\n"); });
}

TEST_F(HostileArchive, HasNamesThatNoFolderTakes) {
    make("add('n' * 300); add('good', 'content')");
    const ToolRun run = unpackInto(there_);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("ditto: " + std::string(300, 'n') + ": "));
    EXPECT_THAT(namesIn(there_), IsEmpty());
}

TEST_F(HostileArchive, NamesTheFolderItself) {
    make("add('./', '', stat.S_IFDIR | 0o700); add('.', '', FOLDER); add('./x', 'content')");
    EXPECT_EQ(unpackInto(there_).status, 0);
    EXPECT_EQ(contentOf(there_ + "/x"), "content");
}

TEST_F(HostileArchive, FindsAFileInTheFoldersPlace) {
    folder_.addFile("there/file", "content");
    make("add('x')");
    const ToolRun run = unpackInto(there_ + "/file");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error, "ditto: " + there_ + "/file: Not a directory\n");
    EXPECT_EQ(contentOf(there_ + "/file"), "content");
}

} // namespace
