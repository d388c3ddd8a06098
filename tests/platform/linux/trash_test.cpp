#include "platform/linux/trash.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <regex>
#include <thread>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/trash_fixture.h"

namespace quorvane::platform::linux_ {
namespace {

using quorvane::testing::contentOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

class TrashTest : public quorvane::testing::TrashFixture {};

mode_t modeOf(const Path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

TEST_F(TrashTest, MovesAnItemAndRecordsWhereItWas) {
    scratch.addFile("source/Notes.txt", "hello");
    EXPECT_EQ(recycle({"Notes.txt"}), 0);
    EXPECT_FALSE(exists(source + "/Notes.txt"));
    EXPECT_EQ(contentOf(files + "/Notes.txt"), "hello");
    const std::regex expected("\\[Trash Info\\]\nPath=" + source + "/Notes.txt\n" +
                              "DeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n");
    const std::string info = contentOf(infos + "/Notes.txt.trashinfo");
    EXPECT_TRUE(std::regex_match(info, expected)) << info;
}

TEST_F(TrashTest, TheTrashIsForItsUserAlone) {
    scratch.addFile("source/a");
    EXPECT_EQ(recycle({"a"}), 0);
    for (const Path& folder : {trashFolder, files, infos}) EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(infos + "/a.trashinfo"), 0600U);
}

TEST_F(TrashTest, MovesFoldersLinksAndFifosThemselves) {
    scratch.addFile("source/folder/inner/file", "x");
    fs::create_symlink("nowhere", source + "/dangling");
    fs::create_symlink(source + "/loop", source + "/loop");
    fs::create_symlink("folder", source + "/link");
    ASSERT_EQ(::mkfifo((source + "/fifo").c_str(), 0600), 0);
    EXPECT_EQ(recycle({"dangling", "loop", "link", "fifo", "folder"}), 0);
    EXPECT_THAT(entries(source), IsEmpty());
    EXPECT_THAT(entries(files), ElementsAre("dangling", "fifo", "folder", "link", "loop"));
    EXPECT_EQ(contentOf(files + "/folder/inner/file"), "x");
    EXPECT_EQ(fs::read_symlink(files + "/link"), "folder");
}

TEST_F(TrashTest, TakesAnyName) {
    const std::vector<std::string> names = {"with space",         "new\nline", "\xFF\xFE invalid",
                                            "Gr\xC3\xBC\xC3\x9F", "-rf",       "%41 $HOME",
                                            std::string(245, 'n')};
    for (const std::string& name : names) scratch.addFile("source/" + name, name);
    EXPECT_EQ(recycle(names), 0);
    for (const std::string& name : names) {
        EXPECT_EQ(contentOf(files + "/" + name), name);
        EXPECT_TRUE(exists(infos + "/" + name + ".trashinfo"));
    }
    EXPECT_EQ(pathLine(infos + "/new\nline.trashinfo"), "Path=" + source + "/new%0Aline");
    EXPECT_EQ(pathLine(infos + "/\xFF\xFE invalid.trashinfo"),
              "Path=" + source + "/%FF%FE%20invalid");
}

TEST_F(TrashTest, CutsANameThatLeavesNoRoomForTheInfo) {
    const std::string name = std::string(251, 'n') + ".txt";
    scratch.addFile("source/" + name, "long");
    EXPECT_EQ(recycle({name}), 0);
    const std::string cut = std::string(241, 'n') + ".txt";
    EXPECT_EQ(contentOf(files + "/" + cut), "long");
    EXPECT_EQ(pathLine(infos + "/" + cut + ".trashinfo"), "Path=" + source + "/" + name);
}

TEST_F(TrashTest, ATakenNameGetsAFreeOne) {
    for (const char* content : {"one", "two", "three"}) {
        scratch.addFile("source/Notes.txt", content);
        EXPECT_EQ(recycle({"Notes.txt"}), 0);
    }
    EXPECT_EQ(contentOf(files + "/Notes.txt"), "one");
    EXPECT_EQ(contentOf(files + "/Notes.2.txt"), "two");
    EXPECT_EQ(contentOf(files + "/Notes.3.txt"), "three");
    EXPECT_EQ(pathLine(infos + "/Notes.3.txt.trashinfo"), "Path=" + source + "/Notes.txt");
}

TEST_F(TrashTest, AFileWithoutInfoAndAnInfoWithoutFileKeepTheirNames) {
    scratch.addFile("home/.local/share/Trash/files/a", "unrecorded");
    scratch.addFile("home/.local/share/Trash/info/a.2.trashinfo", "orphan");
    scratch.addFile("source/a", "new");
    EXPECT_EQ(recycle({"a"}), 0);
    EXPECT_EQ(contentOf(files + "/a"), "unrecorded");
    EXPECT_EQ(contentOf(files + "/a.3"), "new");
    EXPECT_THAT(entries(infos), ElementsAre("a.2.trashinfo", "a.3.trashinfo"));
}

TEST_F(TrashTest, HundredsOfItemsOfOneNameFindNames) {
    for (int count = 0; count < 400; ++count) {
        scratch.addFile("source/Cache/content");
        ASSERT_EQ(recycle({"Cache"}), 0);
    }
    EXPECT_THAT(entries(files), SizeIs(400));
    EXPECT_THAT(entries(infos), SizeIs(400));
}

TEST_F(TrashTest, StopsAtTheFirstFailure) {
    scratch.addFile("source/a");
    scratch.addFile("source/c");
    EXPECT_EQ(recycle({"a", "b", "c"}), ENOENT);
    EXPECT_THAT(entries(source), ElementsAre("c"));
    EXPECT_THAT(entries(files), ElementsAre("a"));
    EXPECT_THAT(entries(infos), ElementsAre("a.trashinfo"));
}

TEST_F(TrashTest, TellsTheSystemsError) {
    const auto result = trash.recycle(source, {"missing"});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ENOENT);
    EXPECT_EQ(result.error().text, "No such file or directory");
    EXPECT_EQ(trash.recycle(source + "/missing", {"a"}).error().code, ENOENT);
}

TEST_F(TrashTest, RefusesWhatIsNoName) {
    scratch.addFile("source/a/b");
    for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string("a\0b", 3)})
        EXPECT_EQ(recycle({name}), EINVAL);
    EXPECT_TRUE(exists(source + "/a/b"));
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(TrashTest, AFolderThatHoldsTheTrashStays) {
    ASSERT_TRUE(trash.recycle(scratch.path(), {}));
    EXPECT_EQ(trash.recycle(scratch.path(), {"home"}).error().code, EINVAL);
    EXPECT_TRUE(exists(files));
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(TrashTest, AFolderInWhichAnotherIsMountedStays) {
    QV_NEEDS_SUPERUSER();
    scratch.addFile("source/tree/file", "content");
    scratch.addFolder("source/tree/inner/bound");
    scratch.addFile("elsewhere/file", "bound");
    testing::inPrivateMounts([&] {
        testing::bindFolder(scratch / "elsewhere", source + "/tree/inner/bound");
        EXPECT_EQ(recycle({"tree"}), EBUSY);
        EXPECT_EQ(contentOf(source + "/tree/inner/bound/file"), "bound");
        EXPECT_THAT(entries(files), IsEmpty());
        EXPECT_THAT(entries(infos), IsEmpty());
    });
}

TEST_F(TrashTest, RecordsThePathWithoutDotsAndDoubledSlashes) {
    scratch.addFile("source/a");
    ASSERT_TRUE(trash.recycle(scratch / "/home/..//source/", {"a"}));
    EXPECT_EQ(pathLine(infos + "/a.trashinfo"), "Path=" + source + "/a");
}

TEST_F(TrashTest, TheDataHomeOfTheEnvironmentHoldsTheTrash) {
    ::setenv("XDG_DATA_HOME", (scratch / "data/deep").c_str(), 1);
    scratch.addFile("source/a", "x");
    EXPECT_EQ(recycle({"a"}), 0);
    EXPECT_EQ(contentOf(scratch / "data/deep/Trash/files/a"), "x");
    EXPECT_FALSE(exists(trashFolder));
}

TEST_F(TrashTest, ADataHomeOfOddSlashesIsSpeltPlainly) {
    ::setenv("XDG_DATA_HOME", (scratch / "data//./deep/").c_str(), 1);
    scratch.addFile("source/a", "x");
    EXPECT_EQ(recycle({"a"}), 0);
    EXPECT_EQ(fs::read_symlink(*identity->home + "/.Trash"), scratch / "data/deep/Trash/files");
}

TEST_F(TrashTest, TheHomesTrashIsALinkToTheFiles) {
    scratch.addFile("source/a", "x");
    EXPECT_EQ(recycle({"a"}), 0);
    EXPECT_EQ(fs::read_symlink(*identity->home + "/.Trash"), files);
    EXPECT_EQ(contentOf(*identity->home + "/.Trash/a"), "x");
}

TEST_F(TrashTest, TheLinkComesBackWhenSomebodyRemovedIt) {
    scratch.addFile("source/a");
    scratch.addFile("source/b");
    EXPECT_EQ(recycle({"a"}), 0);
    fs::remove(*identity->home + "/.Trash");
    EXPECT_EQ(recycle({"b"}), 0);
    EXPECT_EQ(fs::read_symlink(*identity->home + "/.Trash"), files);
}

TEST_F(TrashTest, AFolderInTheLinksPlaceStaysAsItIs) {
    scratch.addFile("home/.Trash/old", "x");
    scratch.addFile("source/a");
    EXPECT_EQ(recycle({"a"}), 0);
    EXPECT_THAT(entries(*identity->home + "/.Trash"), ElementsAre("old"));
    EXPECT_THAT(entries(files), ElementsAre("a"));
}

TEST_F(TrashTest, ATrashRemovedOrReplacedBetweenCallsIsMadeAfresh) {
    for (const char* gone : {"", "/files", "/info"}) {
        scratch.addFile("source/a");
        EXPECT_EQ(recycle({"a"}), 0);
        fs::remove_all(trashFolder + gone);
        scratch.addFile("source/b");
        EXPECT_EQ(recycle({"b"}), 0) << gone;
        EXPECT_TRUE(exists(files + "/b"));
        EXPECT_TRUE(exists(infos + "/b.trashinfo"));
        fs::remove_all(trashFolder);
    }
    scratch.addFile("source/a");
    EXPECT_EQ(recycle({"a"}), 0);
    fs::rename(trashFolder, scratch / "elsewhere");
    scratch.addFile("source/b");
    EXPECT_EQ(recycle({"b"}), 0);
    EXPECT_THAT(entries(files), ElementsAre("b"));
}

TEST_F(TrashTest, LinksInTheTrashAreNotFollowed) {
    const Path elsewhere = scratch.addFolder("elsewhere");
    scratch.addFile("source/a", "x");
    for (const Path& folder : {files, infos, trashFolder}) {
        fs::create_directories(fs::path(folder).parent_path());
        fs::remove_all(folder);
        fs::create_directory_symlink(elsewhere, folder);
        EXPECT_EQ(recycle({"a"}), ENOTDIR) << folder;
        fs::remove(folder);
    }
    EXPECT_THAT(entries(elsewhere), IsEmpty());
    EXPECT_EQ(contentOf(source + "/a"), "x");
}

TEST_F(TrashTest, AnInfoLinkIsNotWrittenThrough) {
    const Path target = scratch.addFile("target", "kept");
    scratch.addFolder("home/.local/share/Trash/info");
    fs::create_symlink(target, infos + "/a.trashinfo");
    scratch.addFile("source/a");
    EXPECT_EQ(recycle({"a"}), 0);
    EXPECT_EQ(contentOf(target), "kept");
    EXPECT_TRUE(exists(files + "/a.2"));
}

TEST_F(TrashTest, ATrashThatCannotBeMadeLeavesTheItem) {
    scratch.addFile("home/.local/share", "a file where a folder should be");
    scratch.addFile("source/a");
    EXPECT_EQ(recycle({"a"}), ENOTDIR);
    EXPECT_TRUE(exists(source + "/a"));
}

TEST_F(TrashTest, WithoutAHomeNothingMoves) {
    scratch.addFile("source/a");
    for (const MaybePath& home : {MaybePath(), MaybePath("relative"), MaybePath("")}) {
        identity->home = home;
        EXPECT_EQ(recycle({"a"}), ENOENT);
    }
    EXPECT_TRUE(exists(source + "/a"));
}

TEST_F(TrashTest, TheSuperuserNeedsAConsoleUser) {
    identity->userId = kSuperuserId;
    scratch.addFile("source/a");
    for (const MaybeText& console :
         {MaybeText(), MaybeText("loginwindow"), MaybeText("no such user")}) {
        identity->console = console;
        EXPECT_EQ(recycle({"a"}), ENOENT);
    }
    EXPECT_TRUE(exists(source + "/a"));
    EXPECT_THAT(entries(*identity->home), IsEmpty());
}

TEST_F(TrashTest, ManyThreadsLoseNothing) {
    constexpr int kThreads = 4;
    constexpr int kItems = 50;
    for (int thread = 0; thread < kThreads; ++thread)
        for (int item = 0; item < kItems; ++item)
            scratch.addFile("source/" + std::to_string(thread) + "/" + std::to_string(item));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([this, thread] {
            for (int item = 0; item < kItems; ++item)
                EXPECT_TRUE(
                    trash.recycle(source + "/" + std::to_string(thread), {std::to_string(item)}));
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(entries(files), SizeIs(kThreads * kItems));
    EXPECT_THAT(entries(infos), SizeIs(kThreads * kItems));
}

TEST_F(TrashTest, NoDescriptorIsLeftOpen) {
    scratch.addFile("source/a");
    EXPECT_EQ(recycle({"a"}), 0);
    const auto before = entries("/proc/self/fd").size();
    for (int count = 0; count < 20; ++count) {
        scratch.addFile("source/a");
        EXPECT_EQ(recycle({"a", "missing"}), ENOENT);
    }
    EXPECT_EQ(entries("/proc/self/fd").size(), before);
}

} // namespace
} // namespace quorvane::platform::linux_
