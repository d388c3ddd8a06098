#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Removal : public testing::FileManagerTest {};

TEST_F(Removal, UnlocksAndDeletes) {
    system.disk->addFile("/d/a");
    system.disk->setImmutable("/d/a", true);
    EXPECT_TRUE(QVFileManager::removeFile("/d/a"));
    EXPECT_THAT(system.journal->entries(),
                ElementsAre("files.setAttributes /d/a immutable=no", "files.remove /d/a"));
    EXPECT_FALSE(system.disk->contains("/d/a"));
}

TEST_F(Removal, DeletesWholeFolders) {
    system.disk->addFile("/d/sub/a");
    EXPECT_TRUE(QVFileManager::removeFile("/d"));
    EXPECT_FALSE(system.disk->contains("/d"));
}

TEST_F(Removal, OfNothingIsSuccess) {
    system.disk->addLink("/dangling", "/nowhere");
    EXPECT_TRUE(QVFileManager::removeFile("/missing"));
    EXPECT_TRUE(QVFileManager::removeFile("/dangling"));
    EXPECT_TRUE(QVFileManager::removeFile(std::nullopt));
    EXPECT_TRUE(QVFileManager::removeFile("/missing", 5s));
    EXPECT_THAT(system.journal->entries("files.remove"), IsEmpty());
    EXPECT_TRUE(system.disk->contains("/dangling"));
}

TEST_F(Removal, FallsBackToAdministratorRights) {
    system.disk->addFile("/d/a");
    system.disk->failAlways("removeItem", "/d/a", {13, "Permission denied"});
    EXPECT_TRUE(QVFileManager::removeFile("/d/a"));
    EXPECT_THAT(privileged(),
                ElementsAre("authorization.execute #1 /bin/rm [-Rdf, /d/a] options=0"));
    EXPECT_THAT(log.messages(),
                ElementsAre("Error removing file: Permission denied. Authorizing..."));
}

TEST_F(Removal, WithoutPermissionToFallBackItLogsTheSameLineAndFails) {
    system.disk->addFile("/d/a");
    system.disk->failAlways("removeItem", "/d/a", {13, "Permission denied"});
    EXPECT_FALSE(QVFileManager::removeFile("/d/a", ShouldAuth::no));
    EXPECT_THAT(log.messages(),
                ElementsAre("Error removing file: Permission denied. Authorizing..."));
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
}

TEST_F(Removal, RefusesSystemFoldersToTheFallback) {
    system.disk->addFile("/Library/a");
    system.disk->failAlways("removeItem", "/Library", {13, "Permission denied"});
    EXPECT_FALSE(QVFileManager::removeFile("/Library"));
    EXPECT_THAT(privileged(), IsEmpty());
}

TEST_F(Removal, TimedFormWaitsUntilTheItemIsGone) {
    system.disk->addFile("/d/a");
    system.disk->failAlways("removeItem", "/d/a", {13, "Permission denied"});
    EXPECT_FALSE(QVFileManager::removeFile("/d/a", 0s));
    EXPECT_FALSE(QVFileManager::removeFile("/d/a", 1s));
    EXPECT_GT(system.application->eventsAskedFor(), 90);
    system.application->onNextEvent([this] { system.disk->erase("/d/a"); });
    EXPECT_TRUE(QVFileManager::removeFile("/d/a", 10s));
}

TEST_F(Removal, FoldersThatCountAsEmpty) {
    system.disk->addFolder("/none");
    system.disk->addFile("/store/.DS_Store");
    system.disk->addFile("/icon/Icon\r");
    system.disk->addFile("/both/.DS_Store");
    system.disk->addFile("/both/Icon\r");
    system.disk->addFolder("/both/sub/subsub");
    system.disk->addFile("/both/sub/.DS_Store");
    system.disk->addLink("/both/link", "/none");
    for (const Path folder : {"/none", "/store", "/icon", "/both", "/missing"})
        EXPECT_TRUE(QVFileManager::isFolderEmpty(folder)) << folder;
    EXPECT_TRUE(QVFileManager::isFolderEmpty(std::nullopt));
    system.disk->addFile("/file");
    EXPECT_TRUE(QVFileManager::isFolderEmpty("/file"));
}

TEST_F(Removal, FoldersThatHoldSomething) {
    system.disk->addFile("/hidden/.profile");
    system.disk->addFile("/deep/a/b/c/file");
    system.disk->addLink("/dangling/link", "/nowhere");
    system.disk->addFile("/name/Icon");
    system.disk->addLink("/linked/link", "/deep");
    system.disk->addLink("/loop/self", "/loop");
    for (const Path folder : {"/hidden", "/deep", "/dangling", "/name", "/linked", "/loop"})
        EXPECT_FALSE(QVFileManager::isFolderEmpty(folder)) << folder;
}

TEST_F(Removal, ManyLinksToOneFolderAreLookedIntoOnce) {
    constexpr int kLevels = 30; // 2 to the 30th paths lead to the last one
    for (int level = 0; level < kLevels; ++level) {
        const Path folder = "/level" + std::to_string(level);
        const Path next = "/level" + std::to_string(level + 1);
        system.disk->addLink(folder + "/left", next);
        system.disk->addLink(folder + "/right", next);
    }
    system.disk->addFolder("/level" + std::to_string(kLevels));
    EXPECT_TRUE(QVFileManager::isFolderEmpty("/level0"));
}

TEST_F(Removal, AFolderThatCannotBeListedCountsAsEmpty) {
    system.disk->addFile("/d/a");
    system.disk->failAlways("contentsOfDirectory", "/d", {13, "Permission denied"});
    EXPECT_TRUE(QVFileManager::isFolderEmpty("/d"));
}

TEST_F(Removal, AFolderOfTheDesktopsNameDoesNotMatterWhateverItHolds) {
    system.disk->addFile("/d/.DS_Store/file");
    EXPECT_TRUE(QVFileManager::isFolderEmpty("/d"));
}

TEST_F(Removal, AFolderThatCouldNotBeLookedThroughIsNotRemoved) {
    system.disk->addFolder("/d");
    system.disk->failAlways("walkTree", "/d", {24, "Too many open files"});
    EXPECT_FALSE(QVFileManager::removeFolderIfEmpty("/d"));
    EXPECT_TRUE(system.disk->contains("/d"));
}

TEST_F(Removal, RemovesEmptyFoldersOnly) {
    system.disk->addFolder("/empty/sub");
    system.disk->addFile("/full/a");
    EXPECT_TRUE(QVFileManager::removeFolderIfEmpty("/empty"));
    EXPECT_FALSE(system.disk->contains("/empty"));
    EXPECT_FALSE(QVFileManager::removeFolderIfEmpty("/full"));
    EXPECT_TRUE(system.disk->contains("/full/a"));
    EXPECT_TRUE(QVFileManager::removeFolderIfEmpty("/missing"));
}

} // namespace
} // namespace quorvane
