#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class Transfer : public testing::FileManagerTest {
protected:
    std::vector<std::string> files() { return system.journal->entries("files."); }
    void failPlainWay(const std::string& operation) {
        system.disk->failAlways(operation, testing::FakeDisk::kAnyPath, {13, "Permission denied"});
    }
};

class CreatingFolders : public Transfer {};

TEST_F(CreatingFolders, MakesThoseAboveToo) {
    EXPECT_TRUE(QVFileManager::createDirectory("/a/b/c"));
    EXPECT_TRUE(QVFileManager::createDirectory("/a/b/c"));
    EXPECT_TRUE(QVFileManager::createDirectory("/a/b/c", 0s));
    EXPECT_TRUE(system.disk->isFolder("/a/b/c"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(CreatingFolders, FallsBackToAdministratorRights) {
    failPlainWay("createDirectories");
    EXPECT_TRUE(QVFileManager::createDirectory("/a/b"));
    EXPECT_THAT(privileged(),
                ElementsAre("authorization.execute #1 /bin/mkdir [-p, /a/b] options=0"));
    EXPECT_THAT(log.messages(),
                ElementsAre("Error creating folder: Permission denied. Authorizing..."));
}

TEST_F(CreatingFolders, WithoutPermissionToFallBackItLogsTheSameLineAndFails) {
    failPlainWay("createDirectories");
    EXPECT_FALSE(QVFileManager::createDirectory("/a/b", ShouldAuth::no));
    EXPECT_THAT(log.messages(),
                ElementsAre("Error creating folder: Permission denied. Authorizing..."));
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
}

TEST_F(CreatingFolders, OnADriveThatIsNotMountedAsksForNoRights) {
    EXPECT_FALSE(QVFileManager::createDirectory("/Volumes/None/a"));
    EXPECT_FALSE(QVFileManager::createDirectory("/Volumes/None/a", 5s));
    EXPECT_EQ(system.consoleLog->messages().front(),
              "Unable to create directory. Drive is not mounted.");
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(CreatingFolders, TimedFormWaitsForTheTool) {
    failPlainWay("createDirectories");
    EXPECT_FALSE(QVFileManager::createDirectory("/a", 0s));
    system.application->onNextEvent([this] { system.disk->addFolder("/a"); });
    EXPECT_TRUE(QVFileManager::createDirectory("/a", 10s));
    EXPECT_EQ(system.application->eventsAskedFor(), 1);
}

TEST_F(CreatingFolders, OfNullFails) {
    EXPECT_FALSE(QVFileManager::createDirectory(std::nullopt, ShouldAuth::no));
    EXPECT_FALSE(QVFileManager::createDirectory(std::nullopt));
    EXPECT_THAT(privileged(), IsEmpty());
}

TEST_F(CreatingFolders, MirrorsAWholePath) {
    system.disk->addFolder("/Users/anna/Documents");
    EXPECT_EQ(QVFileManager::createDirectoryStructure("/Users/anna/Documents", "/root/"),
              "/root/Users/anna/Documents");
    EXPECT_TRUE(system.disk->isFolder("/root/Users/anna/Documents"));
    system.journal->clear();
    EXPECT_EQ(QVFileManager::createDirectoryStructure("/Users/anna/Documents", "/root"),
              "/root/Users/anna/Documents");
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(CreatingFolders, MirrorsTheFolderAroundFilesAndPackages) {
    system.disk->addFile("/d/file");
    system.disk->addFolder("/d/Tool.app");
    for (const Path item : {"/d/file", "/d/Tool.app", "/d/missing"})
        EXPECT_EQ(QVFileManager::createDirectoryStructure(item, "/root"), "/root/d") << item;
    EXPECT_FALSE(system.disk->contains("/root/d/Tool.app"));
}

TEST_F(CreatingFolders, MirrorAnswersItsPathEvenIfItCouldNotBeMade) {
    failPlainWay("createDirectories");
    system.authorization->createStatus = platform::kAuthorizationDenied;
    EXPECT_EQ(QVFileManager::createDirectoryStructure("/d/file", "/root"), "/root/d");
    EXPECT_EQ(QVFileManager::createDirectoryStructure(std::nullopt, "/root"), std::nullopt);
    EXPECT_EQ(QVFileManager::createDirectoryStructure("/d", std::nullopt), std::nullopt);
}

class Copying : public Transfer {
protected:
    Copying() {
        system.disk->addFile("/d/a", "content");
        system.disk->addFolder("/e");
    }
};

TEST_F(Copying, UnlocksTheDestinationsFolderAndCopies) {
    system.disk->setImmutable("/e", true);
    EXPECT_TRUE(QVFileManager::copyFile("/d/a", "/e/b"));
    EXPECT_THAT(files(),
                ElementsAre("files.setAttributes /e immutable=no", "files.copy /d/a -> /e/b"));
    EXPECT_EQ(system.disk->content("/e/b"), "content");
    EXPECT_TRUE(system.disk->contains("/d/a"));
}

TEST_F(Copying, OntoAnExistingItemOverwritesWithAdministratorRights) {
    system.disk->addFile("/e/b");
    EXPECT_TRUE(QVFileManager::copyFile("/d/a", "/e/b"));
    EXPECT_THAT(privileged(),
                ElementsAre("authorization.execute #1 /bin/cp [-f, -p, -R, /d/a, /e/b] options=0"));
    EXPECT_THAT(log.messages(), ElementsAre("Error copying file: File exists. Authorizing..."));
}

TEST_F(Copying, WithoutPermissionToFallBackItLogsTheSameLineAndFails) {
    system.disk->addFile("/e/b", "kept");
    EXPECT_FALSE(QVFileManager::copyFile("/d/a", "/e/b", ShouldAuth::no));
    EXPECT_THAT(log.messages(), ElementsAre("Error copying file: File exists. Authorizing..."));
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
    EXPECT_EQ(system.disk->content("/e/b"), "kept");
}

TEST_F(Copying, WithoutAPathSaysSo) {
    EXPECT_FALSE(QVFileManager::copyFile(std::nullopt, "/e/b"));
    EXPECT_FALSE(QVFileManager::copyFile("/d/a", std::nullopt));
    EXPECT_FALSE(QVFileManager::copyFile(std::nullopt, std::nullopt, 5s));
    const auto lines = ElementsAre("Error copying file: source path is nil",
                                   "Error copying file /d/a: destination path is nil",
                                   "Error copying file: source path is nil");
    EXPECT_THAT(log.messages(), lines);
    EXPECT_THAT(system.journal->entries("files.copy"), IsEmpty());
}

TEST_F(Copying, TimedFormWaitsForTheTool) {
    failPlainWay("copyItem");
    EXPECT_FALSE(QVFileManager::copyFile("/d/a", "/e/b", 0s));
    system.application->onNextEvent([this] { system.disk->addFile("/e/b"); });
    EXPECT_TRUE(QVFileManager::copyFile("/d/a", "/e/b", 10s));
    EXPECT_EQ(system.application->eventsAskedFor(), 1);
}

TEST_F(Copying, FolderContentsGoOneByOne) {
    system.disk->addFile("/d/.hidden");
    system.disk->addFile("/d/sub/b");
    EXPECT_TRUE(QVFileManager::copyContentsOfDirectory("/d", "/e", 5s));
    EXPECT_TRUE(system.disk->contains("/e/sub/b"));
    EXPECT_TRUE(system.disk->contains("/e/.hidden"));
    EXPECT_THAT(log.messages(), ElementsAre("File: a", "File: .hidden", "File: sub"));
}

TEST_F(Copying, FolderContentsStopAtTheFirstFailure) {
    system.disk->addFile("/d/b");
    system.disk->addFile("/d/c");
    system.disk->failAlways("copyItem", "/d/b", {5, "Input/output error"});
    system.authorization->createStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(QVFileManager::copyContentsOfDirectory("/d", "/e", 5s));
    EXPECT_TRUE(system.disk->contains("/e/a"));
    EXPECT_FALSE(system.disk->contains("/e/c"));
    EXPECT_THAT(log.messages(),
                ElementsAre("File: a", "File: b",
                            "Error copying file: Input/output error. Authorizing..."));
}

TEST_F(Copying, NoFolderContentsAreSuccess) {
    EXPECT_TRUE(QVFileManager::copyContentsOfDirectory("/e", "/missing", 5s));
    EXPECT_TRUE(QVFileManager::copyContentsOfDirectory("/none", "/e", 5s));
    EXPECT_TRUE(QVFileManager::copyContentsOfDirectory(std::nullopt, "/e", 5s));
}

class Moving : public Copying {};

TEST_F(Moving, UnlocksWhatStandsAtTheDestinationAndBelowIt) {
    system.disk->addFile("/e/a/locked");
    system.disk->failAlways("moveItem", "/d/a", {17, "File exists"});
    EXPECT_FALSE(QVFileManager::moveFile("/d/a", "/e", ShouldAuth::no));
    EXPECT_THAT(files(), ElementsAre("files.setAttributes /e immutable=no",
                                     "files.setAttributes /e/a/locked immutable=no",
                                     "files.move /d/a -> /e"));
}

TEST_F(Moving, MovesWithoutAWord) {
    EXPECT_TRUE(QVFileManager::moveFile("/d/a", "/e/b"));
    EXPECT_THAT(files(), ElementsAre("files.move /d/a -> /e/b"));
    EXPECT_EQ(system.disk->content("/e/b"), "content");
    EXPECT_FALSE(system.disk->contains("/d/a"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Moving, OntoAnExistingItemReplacesItWithAdministratorRights) {
    system.disk->addFile("/e/b");
    EXPECT_TRUE(QVFileManager::moveFile("/d/a", "/e/b"));
    EXPECT_THAT(privileged(),
                ElementsAre("authorization.execute #1 /bin/mv [-f, /d/a, /e/b] options=0"));
    EXPECT_THAT(log.messages(), ElementsAre("Error moving file: File exists.", "Authorizing..."));
}

TEST_F(Moving, WithoutPermissionToFallBackDoesNotSpeakOfIt) {
    system.disk->addFile("/e/b");
    EXPECT_FALSE(QVFileManager::moveFile("/d/a", "/e/b", ShouldAuth::no));
    EXPECT_THAT(log.messages(), ElementsAre("Error moving file: File exists."));
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
}

TEST_F(Moving, RefusesSystemFoldersToTheFallback) {
    system.disk->addFile("/Library/a");
    failPlainWay("moveItem");
    EXPECT_FALSE(QVFileManager::moveFile("/Library", "/e/b"));
    EXPECT_THAT(privileged(), IsEmpty());
}

TEST_F(Moving, ChangesOfCaseTakeTwoSteps) {
    system.disk->addFolder("/f/tool");
    EXPECT_TRUE(QVFileManager::moveFile("/f/tool", "/f/Tool"));
    EXPECT_THAT(files(),
                ElementsAre("files.move /f/tool -> /f/Tool", "files.move /f/Tool -> /f/Tool"));
    EXPECT_TRUE(QVFileManager::moveFile("/d/a", "/d/a")); // as where case is ignored
    EXPECT_THAT(system.journal->entries("files.move /d"),
                ElementsAre("files.move /d/a -> /d/a 2", "files.move /d/a 2 -> /d/a"));
    EXPECT_EQ(system.disk->content("/d/a"), "content");
}

TEST_F(Moving, AChangeOfCaseOntoAnotherItemLeavesBothInPlace) {
    system.disk->addFile("/d/A", "other");
    EXPECT_FALSE(QVFileManager::moveFile("/d/a", "/d/A", ShouldAuth::no));
    EXPECT_THAT(system.journal->entries("files.move"),
                ElementsAre("files.move /d/a -> /d/A 2", "files.move /d/A 2 -> /d/A",
                            "files.move /d/A 2 -> /d/a", "files.move /d/a -> /d/A"));
    EXPECT_THAT(log.messages(), ElementsAre("Error moving file: File exists."));
    EXPECT_EQ(system.disk->content("/d/a"), "content");
    EXPECT_EQ(system.disk->content("/d/A"), "other");
}

TEST_F(Moving, TimedFormPausesAfterAChangeOfCase) {
    EXPECT_TRUE(QVFileManager::moveFile("/d/a", "/d/A", 0s));
    EXPECT_THAT(system.journal->entries("queues."), ElementsAre("queues.sleepFor 0.0005"));
    EXPECT_EQ(system.application->eventsAskedFor(), 0);
}

TEST_F(Moving, TimedFormWaitsUntilTheSourceIsGone) {
    failPlainWay("moveItem");
    EXPECT_FALSE(QVFileManager::moveFile("/d/a", "/e/b", 0s));
    system.application->onNextEvent([this] { system.disk->erase("/d/a"); });
    EXPECT_TRUE(QVFileManager::moveFile("/d/a", "/e/b", 10s));
    EXPECT_EQ(system.application->eventsAskedFor(), 1);
}

TEST_F(Moving, OfNullFails) {
    EXPECT_FALSE(QVFileManager::moveFile(std::nullopt, "/e/b"));
    EXPECT_FALSE(QVFileManager::moveFile("/d/a", std::nullopt));
    EXPECT_FALSE(QVFileManager::moveFile(std::nullopt, std::nullopt, 5s));
    EXPECT_THAT(files(), IsEmpty());
}

class EmptyFiles : public Transfer {
protected:
    EmptyFiles() {
        system.disk->addFolder("/private/var/folders/a1/T");
        system.disk->addFolder("/e");
    }
};

TEST_F(EmptyFiles, AreMadeAsideAndMovedIntoPlace) {
    EXPECT_TRUE(QVFileManager::createEmptyFile("/e/new"));
    const std::string aside = "/private/var/folders/a1/T/UNIQUE-1[a-z0-9]+";
    EXPECT_THAT(files(), ElementsAre(MatchesRegex("files.writeAtomically " + aside + " 0 bytes"),
                                     MatchesRegex("files.move " + aside + " -> /e/new")));
    EXPECT_EQ(system.disk->content("/e/new"), "");
}

TEST_F(EmptyFiles, OntoAnExistingFileReplaceItWithAdministratorRights) {
    system.disk->addFile("/e/old");
    EXPECT_TRUE(QVFileManager::createEmptyFile("/e/old"));
    EXPECT_EQ(privileged().size(), 1U);
    EXPECT_THAT(log.messages(), ElementsAre("Error moving file: File exists.", "Authorizing..."));
}

TEST_F(EmptyFiles, ThatCannotBeMadeLeaveNothing) {
    system.authorization->createStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(QVFileManager::createEmptyFile("/missing/new"));
    EXPECT_FALSE(QVFileManager::createEmptyFile(std::nullopt));
    system.disk->failAlways("writeAtomically", testing::FakeDisk::kAnyPath, {28, "No space left"});
    EXPECT_FALSE(QVFileManager::createEmptyFile("/e/new"));
    EXPECT_THAT(system.disk->paths(),
                ::testing::Not(::testing::Contains(::testing::HasSubstr("UNIQUE"))));
    EXPECT_FALSE(system.disk->contains("/e/new"));
}

} // namespace
} // namespace quorvane
