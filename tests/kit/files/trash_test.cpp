#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using testing::FakeDisk;
using ::testing::IsEmpty;

class Trash : public testing::FileManagerTest {};

TEST_F(Trash, ExistenceFollowsLinks) {
    system.disk->addFile("/d/file");
    system.disk->addLink("/link", "/d");
    system.disk->addLink("/dangling", "/nowhere");
    system.disk->addLink("/loop", "/loop");
    EXPECT_TRUE(QVFileManager::fileExistsAtPath("/d/file"));
    EXPECT_TRUE(QVFileManager::fileExistsAtPath("/link"));
    EXPECT_FALSE(QVFileManager::fileExistsAtPath("/dangling"));
    EXPECT_FALSE(QVFileManager::fileExistsAtPath("/loop"));
    EXPECT_FALSE(QVFileManager::fileExistsAtPath(std::nullopt));
    EXPECT_FALSE(QVFileManager::fileExistsAtPath(""));
    EXPECT_TRUE(QVFileManager::isDirectoryAtPath("/d"));
    EXPECT_TRUE(QVFileManager::isDirectoryAtPath("/link"));
    EXPECT_FALSE(QVFileManager::isDirectoryAtPath("/d/file"));
    EXPECT_FALSE(QVFileManager::isDirectoryAtPath("/loop"));
    EXPECT_FALSE(QVFileManager::isDirectoryAtPath(std::nullopt));
}

TEST_F(Trash, UnlocksAndRecycles) {
    system.disk->addFile("/d/a b.txt");
    system.disk->setImmutable("/d/a b.txt", true);
    EXPECT_TRUE(QVFileManager::trashFile("/d/a b.txt"));
    EXPECT_THAT(system.journal->entries(),
                ElementsAre("files.setAttributes /d/a b.txt immutable=no",
                            "workspace.recycle /d [a b.txt] -> /Users/anna/.Trash"));
    EXPECT_FALSE(system.disk->contains("/d/a b.txt"));
    EXPECT_TRUE(system.disk->contains("/Users/anna/.Trash/a b.txt"));
}

TEST_F(Trash, RecyclesAnItemOfTheRoot) {
    system.disk->addFile("/top");
    EXPECT_TRUE(QVFileManager::trashFile("/top"));
    EXPECT_THAT(recycled(), ElementsAre("workspace.recycle / [top] -> /Users/anna/.Trash"));
}

TEST_F(Trash, OfNothingIsSuccess) {
    system.disk->addLink("/dangling", "/nowhere");
    EXPECT_TRUE(QVFileManager::trashFile("/missing"));
    EXPECT_TRUE(QVFileManager::trashFile("/dangling"));
    EXPECT_TRUE(QVFileManager::trashFile(std::nullopt));
    EXPECT_TRUE(QVFileManager::trashFile(""));
    EXPECT_THAT(recycled(), IsEmpty());
    EXPECT_TRUE(system.disk->contains("/dangling"));
}

TEST_F(Trash, FallsBackToAdministratorRights) {
    system.disk->addFile("/d/a");
    failRecycling();
    EXPECT_TRUE(QVFileManager::trashFile("/d/a"));
    EXPECT_THAT(privileged(), ElementsAre("authorization.execute #1 /bin/mv [-f, /d/a, "
                                          "/Users/anna/.Trash/a] options=0"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Trash, WithoutPermissionToFallBackItFails) {
    system.disk->addFile("/d/a");
    failRecycling();
    EXPECT_FALSE(QVFileManager::trashFile("/d/a", ShouldAuth::no));
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_TRUE(system.disk->contains("/d/a"));
}

TEST_F(Trash, ACancelledDialogIsAFailure) {
    system.disk->addFile("/d/a");
    failRecycling();
    system.authorization->copyRightsStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(QVFileManager::trashFile("/d/a"));
    EXPECT_FALSE(QVFileManager::trashFile("/d/a", 10s));
    EXPECT_TRUE(system.disk->contains("/d/a"));
    EXPECT_THAT(system.journal->entries("queues."), IsEmpty());
}

TEST_F(Trash, TimedFormAnswersAtOnceWhenTheItemIsGone) {
    system.disk->addFile("/d/a");
    EXPECT_TRUE(QVFileManager::trashFile("/d/a", 10s));
    EXPECT_EQ(system.application->eventsAskedFor(), 0);
}

TEST_F(Trash, TimedFormWithoutSecondsLooksOnce) {
    system.disk->addFile("/d/a");
    failRecycling();
    EXPECT_FALSE(QVFileManager::trashFile("/d/a", 0s)); // the tool has not moved it yet
    EXPECT_FALSE(QVFileManager::trashFile("/d/a", -1s));
    EXPECT_EQ(system.application->eventsAskedFor(), 0);
    EXPECT_EQ(privileged().size(), 2U);
}

TEST_F(Trash, TimedFormWaitsForTheTool) {
    system.disk->addFile("/d/a");
    failRecycling();
    system.queues->setMode(testing::Detached::onThread);
    bool result = false;
    int sleeps = 0;
    system.queues->onSleep([&](double) {
        if (++sleeps == 3) system.disk->erase("/d/a");
    });
    std::thread([&] { result = QVFileManager::trashFile("/d/a", 10s); }).join();
    EXPECT_TRUE(result);
    EXPECT_THAT(system.journal->entries("queues."),
                ElementsAre("queues.sleepFor 0.3", "queues.sleepFor 0.3", "queues.sleepFor 0.3"));
}

TEST_F(Trash, FolderContentsGoOneByOne) {
    system.disk->addFile("/d/.hidden");
    system.disk->addFile("/d/sub/x");
    system.disk->addFile("/d/a");
    EXPECT_TRUE(QVFileManager::trashDirectoryContents("/d"));
    EXPECT_THAT(recycled(), ElementsAre("workspace.recycle /d [.hidden] -> /Users/anna/.Trash",
                                        "workspace.recycle /d [sub] -> /Users/anna/.Trash",
                                        "workspace.recycle /d [a] -> /Users/anna/.Trash"));
    EXPECT_TRUE(system.disk->contains("/d"));
}

TEST_F(Trash, FolderContentsGoOnAfterAFailure) {
    system.disk->addFile("/d/a");
    system.disk->addFile("/d/b");
    system.disk->failAlways("recycle", "/d/a", {13, "Permission denied"});
    EXPECT_FALSE(QVFileManager::trashDirectoryContents("/d", ShouldAuth::no));
    EXPECT_TRUE(system.disk->contains("/d/a"));
    EXPECT_FALSE(system.disk->contains("/d/b"));
}

TEST_F(Trash, FolderContentsOfNothingAreSuccess) {
    system.disk->addFolder("/empty");
    EXPECT_TRUE(QVFileManager::trashDirectoryContents("/empty"));
    EXPECT_TRUE(QVFileManager::trashDirectoryContents("/missing"));
    EXPECT_TRUE(QVFileManager::trashDirectoryContents(std::nullopt));
}

TEST_F(Trash, FilesOfATypeInAnyCaseBelowAFolder) {
    system.disk->addFile("/d/one.TXT");
    system.disk->addFile("/d/sub/two.txt");
    system.disk->addFile("/d/bundle.txt/three.Txt");
    system.disk->addFile("/d/other.text");
    system.disk->addFile("/d/txt");
    EXPECT_THAT(QVFileManager::trashFilesOfType("tXt", "/d"),
                ElementsAre("/d/one.TXT", "/d/sub/two.txt", "/d/bundle.txt/three.Txt"));
    EXPECT_TRUE(system.disk->isFolder("/d/bundle.txt"));
    EXPECT_TRUE(system.disk->contains("/d/other.text"));
    EXPECT_TRUE(system.disk->contains("/d/txt"));
    EXPECT_FALSE(system.disk->contains("/d/sub/two.txt"));
}

TEST_F(Trash, FilesOfATypeListsWhatWasTriedEvenIfItStayed) {
    system.disk->addFile("/d/one.txt");
    failRecycling();
    system.authorization->copyRightsStatus = platform::kAuthorizationDenied;
    EXPECT_THAT(QVFileManager::trashFilesOfType("txt", "/d"), ElementsAre("/d/one.txt"));
    EXPECT_TRUE(system.disk->contains("/d/one.txt"));
}

TEST_F(Trash, FilesOfATypeInNothingAreNone) {
    EXPECT_THAT(QVFileManager::trashFilesOfType("txt", "/missing"), IsEmpty());
    EXPECT_THAT(QVFileManager::trashFilesOfType("txt", std::nullopt), IsEmpty());
    EXPECT_THAT(QVFileManager::trashFilesOfType(std::nullopt, "/d"), IsEmpty());
}

TEST_F(Trash, FilesNamedExactly) {
    system.disk->addFile("/d/Report");
    system.disk->addFile("/d/report");
    system.disk->addFile("/d/sub/Report");
    system.disk->addFile("/d/dir/Report/inside");
    EXPECT_THAT(QVFileManager::trashFilesNamed("Report", "/d"),
                ElementsAre("/d/Report", "/d/sub/Report"));
    EXPECT_TRUE(system.disk->contains("/d/report"));
    EXPECT_TRUE(system.disk->contains("/d/dir/Report/inside"));
}

TEST_F(Trash, SearchesFollowLinksButNotInCircles) {
    system.disk->addFile("/real/a.txt");
    system.disk->addLink("/d/one", "/real");
    system.disk->addLink("/d/again", "/real");
    system.disk->addLink("/real/up", "/d");
    EXPECT_THAT(QVFileManager::trashFilesOfType("txt", "/d"), ElementsAre("/d/one/a.txt"));
}

} // namespace
} // namespace quorvane
