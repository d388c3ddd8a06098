#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Attributes : public testing::FileManagerTest {
protected:
    std::vector<std::string> console() { return system.consoleLog->messages(); }
};

TEST_F(Attributes, LocksAndUnlocks) {
    system.disk->addFile("/a");
    EXPECT_FALSE(QVFileManager::isFileLocked("/a"));
    QVFileManager::lockFile("/a");
    EXPECT_TRUE(QVFileManager::isFileLocked("/a"));
    QVFileManager::unlockFile("/a");
    EXPECT_FALSE(QVFileManager::isFileLocked("/a"));
    EXPECT_FALSE(QVFileManager::isFileLocked("/missing"));
    EXPECT_FALSE(QVFileManager::isFileLocked(std::nullopt));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Attributes, FailuresToLockAndUnlockReadAlike) {
    QVFileManager::lockFile("/missing");
    QVFileManager::unlockFile("/missing");
    QVFileManager::unlockFile(std::nullopt);
    EXPECT_THAT(log.messages(),
                ElementsAre("Unable to unlock file /missing: No such file or directory",
                            "Unable to unlock file /missing: No such file or directory",
                            "Unable to unlock file (null): No such file or directory"));
    EXPECT_THAT(system.journal->entries("authorization."), IsEmpty());
}

TEST_F(Attributes, FoldersAreLockedFileByFile) {
    system.disk->addFile("/d/a");
    system.disk->addFile("/d/sub/b");
    system.disk->addFile("/d/Tool.app/c");
    QVFileManager::lockFolder("/d");
    for (const Path file : {"/d/a", "/d/sub/b", "/d/Tool.app/c"})
        EXPECT_TRUE(system.disk->isImmutable(file)) << file;
    for (const Path folder : {"/d", "/d/sub", "/d/Tool.app"})
        EXPECT_FALSE(system.disk->isImmutable(folder)) << folder;
    system.disk->setImmutable("/d/sub", true);
    QVFileManager::unlockFolder("/d");
    for (const Path file : {"/d/a", "/d/sub/b", "/d/Tool.app/c"})
        EXPECT_FALSE(system.disk->isImmutable(file)) << file;
    EXPECT_TRUE(system.disk->isImmutable("/d/sub"));
}

TEST_F(Attributes, FoldersThatCannotBeListedStayAsTheyAre) {
    system.disk->addFolder("/empty");
    QVFileManager::lockFolder("/empty");
    QVFileManager::unlockFolder("/missing");
    QVFileManager::unlockFolder(std::nullopt);
    EXPECT_THAT(system.journal->entries("files."), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Attributes, SetsPermissions) {
    system.disk->addFile("/a");
    QVFileManager::setPosixPermissions(0640, "/a");
    EXPECT_THAT(system.journal->entries("files."),
                ElementsAre("files.setAttributes /a permissions=640"));
    QVFileManager::setPosixPermissions(0640, "/missing");
    EXPECT_THAT(log.messages(),
                ElementsAre("Error setting permissions for file /missing: No such file or "
                            "directory"));
}

TEST_F(Attributes, DisablingCachingDoesNothing) {
    QVFileManager::disableFileSystemCachingForFile("/a");
    QVFileManager::disableFileSystemCachingForFile(std::nullopt);
    EXPECT_THAT(system.journal->entries(), IsEmpty());
}

TEST_F(Attributes, MetadataGoesThereAndBack) {
    system.disk->addFile("/a");
    EXPECT_TRUE(QVFileManager::setMetadataValue("grün", "com.quorvane.note", "/a"));
    EXPECT_EQ(QVFileManager::metadataValueForKey("com.quorvane.note", "/a"), "grün");
    EXPECT_THAT(console(), ElementsAre("buffer val: 5"));
}

TEST_F(Attributes, MetadataReadsAnnounce255Bytes) {
    system.disk->addFile("/a");
    QVFileManager::setMetadataValue("x", "k", "/a");
    QVFileManager::metadataValueForKey("k", "/a");
    EXPECT_THAT(system.journal->entries("attributes."),
                ElementsAre("attributes.set k /a x", "attributes.size k /a",
                            "attributes.get k /a 255 bytes"));
}

TEST_F(Attributes, MetadataAbove255BytesCannotBeRead) {
    system.disk->addFile("/a");
    const std::string longest(255, 'x');
    QVFileManager::setMetadataValue(longest, "k", "/a");
    EXPECT_EQ(QVFileManager::metadataValueForKey("k", "/a"), longest);
    QVFileManager::setMetadataValue(longest + "x", "k", "/a");
    EXPECT_EQ(QVFileManager::metadataValueForKey("k", "/a"), std::string(256, '\0'));
}

TEST_F(Attributes, MissingMetadataIsNullAndToldToTheConsole) {
    system.disk->addFile("/a");
    EXPECT_EQ(QVFileManager::metadataValueForKey("k", "/a"), std::nullopt);
    EXPECT_THAT(console(),
                ElementsAre("buffer val: -1", "Error retrieving file attribute: 61")); // ENODATA
}

TEST_F(Attributes, EmptyAndUndecodableMetadataIsNull) {
    system.disk->addFile("/a");
    QVFileManager::setMetadataValue("", "empty", "/a");
    EXPECT_EQ(QVFileManager::metadataValueForKey("empty", "/a"), std::nullopt);
    QVFileManager::setMetadataValue("\xff", "bytes", "/a");
    EXPECT_EQ(QVFileManager::metadataValueForKey("bytes", "/a"), std::nullopt);
    EXPECT_THAT(console(), ElementsAre("buffer val: 0", "buffer val: 1"));
}

TEST_F(Attributes, MetadataIsWrittenUpToItsTerminator) {
    system.disk->addFile("/a");
    EXPECT_TRUE(QVFileManager::setMetadataValue(std::string("ab\0cd", 5), "k", "/a"));
    EXPECT_EQ(QVFileManager::metadataValueForKey("k", "/a"), "ab");
}

TEST_F(Attributes, NoMetadataLeavesWhatIsThere) {
    system.disk->addFile("/a");
    QVFileManager::setMetadataValue("x", "k", "/a");
    EXPECT_FALSE(QVFileManager::setMetadataValue(std::nullopt, "k", "/a"));
    EXPECT_EQ(QVFileManager::metadataValueForKey("k", "/a"), "x");
}

TEST_F(Attributes, MetadataThatCannotBeWrittenIsToldToTheConsole) {
    EXPECT_FALSE(QVFileManager::setMetadataValue("x", "k", "/missing"));
    EXPECT_THAT(console(), ElementsAre("Error setting extended attribute for file /missing - -1"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Attributes, TouchesWhatTheUserMayWrite) {
    system.queues->setMode(testing::Detached::recorded); // the watchdog writes to the journal too
    system.disk->addFile("/a");
    system.processes->script("/usr/bin/touch", {.exitStatus = 1});
    EXPECT_TRUE(QVFileManager::touchFile("/a"));
    EXPECT_THAT(system.journal->entries("process.launch"),
                ElementsAre("process.launch /usr/bin/touch [-c, /a] out=null err=null "
                            "in=inherited"));
    EXPECT_EQ(system.journal->entries().back(), "workspace.noteFileSystemChanged /a");
    EXPECT_THAT(system.journal->entries("files.setAttributes"), IsEmpty());
    system.queues->runRecorded();
    EXPECT_THAT(system.journal->entries("queues.sleepFor"), ElementsAre("queues.sleepFor 5"));
}

TEST_F(Attributes, TouchSetsTheCreationDateAfterwards) {
    system.disk->addFile("/a");
    EXPECT_TRUE(QVFileManager::touchFile("/a", SetCreationDate::yes));
    ASSERT_EQ(system.journal->entries("files.setAttributes").size(), 1U);
    EXPECT_THAT(system.journal->entries("files.setAttributes")[0],
                ::testing::StartsWith("files.setAttributes /a creationDate="));
}

TEST_F(Attributes, TouchOfAMissingItemTakesTheRightAndCreatesNothing) {
    EXPECT_TRUE(QVFileManager::touchFile("/missing", SetCreationDate::yes));
    EXPECT_THAT(privileged(),
                ElementsAre("authorization.execute #1 /usr/bin/touch [-c, /missing] options=0"));
    EXPECT_EQ(system.authorization->endsOfFileRead(), 1);
    EXPECT_FALSE(system.disk->contains("/missing"));
    EXPECT_EQ(system.journal->entries().back(), "workspace.noteFileSystemChanged /missing");
}

TEST_F(Attributes, TouchWithoutTheRightFails) {
    system.disk->addFile("/a");
    system.disk->setWritable("/a", false);
    system.authorization->copyRightsStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(QVFileManager::touchFile("/a"));
    EXPECT_EQ(system.journal->entries().back(), "workspace.noteFileSystemChanged /a");
    EXPECT_FALSE(QVFileManager::touchFile(std::nullopt));
}

TEST_F(Attributes, TouchPassesExceptionsOnAfterTellingTheDesktop) {
    system.services.makeFileManager = []() -> std::unique_ptr<platform::FileManager> {
        throw platform::Exception("Trouble", "no file manager");
    };
    EXPECT_THROW(QVFileManager::touchFile("/a"), platform::Exception);
    EXPECT_EQ(system.journal->entries().back(), "workspace.noteFileSystemChanged /a");
}

TEST_F(Attributes, SetsTheModificationDate) {
    system.disk->addFile("/a");
    const platform::FileTime date{std::chrono::seconds(443779200)};
    EXPECT_TRUE(QVFileManager::setModificationDate(date, "/a"));
    EXPECT_THAT(system.journal->entries("files."),
                ElementsAre("files.setAttributes /a modificationDate=443779200"));
    EXPECT_FALSE(QVFileManager::setModificationDate(date, "/missing"));
    EXPECT_FALSE(QVFileManager::setModificationDate(date, std::nullopt));
    EXPECT_THAT(log.messages(), IsEmpty());
}

} // namespace
} // namespace quorvane
