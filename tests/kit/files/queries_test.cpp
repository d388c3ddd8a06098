#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Queries : public testing::FileManagerTest {};

platform::FileTime at(long seconds) { return platform::FileTime(std::chrono::seconds(seconds)); }

TEST_F(Queries, PackagesAreTheDesktopsJudgement) {
    system.disk->addFolder("/Tool.app");
    system.disk->addFolder("/folder");
    EXPECT_TRUE(QVFileManager::isPackageAtPath("/Tool.app"));
    EXPECT_FALSE(QVFileManager::isPackageAtPath("/folder"));
    EXPECT_FALSE(QVFileManager::isPackageAtPath(std::nullopt));
}

TEST_F(Queries, SymbolicLinksAreKnownWhereverTheyLead) {
    system.disk->addFile("/file");
    system.disk->addLink("/link", "/file");
    system.disk->addLink("/dangling", "/nowhere");
    system.disk->addLink("/toFolder", "/");
    for (const Path link : {"/link", "/dangling", "/toFolder"})
        EXPECT_TRUE(QVFileManager::isSymbolicLinkAtPath(link)) << link;
    for (const MaybePath& item : {MaybePath("/file"), MaybePath("/"), MaybePath("/missing"),
                                  MaybePath("/toFolder/file"), MaybePath()})
        EXPECT_FALSE(QVFileManager::isSymbolicLinkAtPath(item)) << item.value_or("null");
}

TEST_F(Queries, VolumesAreMountedWhereTheirFolderIs) {
    system.disk->addFolder("/Volumes/There");
    for (const MaybePath& path :
         {MaybePath("/Volumes/There"), MaybePath("/Volumes/There/a/b"), MaybePath("/Volumes"),
          MaybePath("/Volumes/"), MaybePath("/"), MaybePath("/Users/x"), MaybePath("relative"),
          MaybePath("/users/Volumes/None"), MaybePath()}) {
        EXPECT_TRUE(QVFileManager::isVolumeMountedForPath(path)) << path.value_or("null");
        EXPECT_TRUE(QVFileManager::isDriveMountedForPath(path)) << path.value_or("null");
    }
    EXPECT_FALSE(QVFileManager::isVolumeMountedForPath("/Volumes/None"));
    EXPECT_FALSE(QVFileManager::isVolumeMountedForPath("/Volumes/None/a"));
    EXPECT_FALSE(QVFileManager::isDriveMountedForPath("/Volumes/None/a"));
}

TEST_F(Queries, TheTwoVolumeTestsDifferInTheirPrefix) {
    EXPECT_FALSE(QVFileManager::isVolumeMountedForPath("/VolumesX/a"));
    EXPECT_TRUE(QVFileManager::isDriveMountedForPath("/VolumesX/a"));
    system.disk->addFolder("/VolumesX/a");
    EXPECT_TRUE(QVFileManager::isVolumeMountedForPath("/VolumesX/a/b"));
}

TEST_F(Queries, VolumeTestsAskForAPathWithTwoSlashes) {
    system.services.makeFileManager =
        testing::fakeFileManagerMaker(system.disk, system.journal, testing::JournalQueries::yes);
    QVFileManager::isDriveMountedForPath("/Volumes/None/a");
    EXPECT_THAT(system.journal->entries("files."), ElementsAre("files.exists //Volumes/None"));
}

TEST_F(Queries, TheFirstVolumeThatHoldsThePathWins) {
    system.workspace->volumes = {"/", "/Volumes/A", "/Volumes/A/B", "/home"};
    EXPECT_EQ(QVFileManager::volumeMountPointForPath("/Volumes/A"), "/Volumes/A");
    EXPECT_EQ(QVFileManager::volumeMountPointForPath("/Volumes/A/B/c"), "/Volumes/A");
    EXPECT_EQ(QVFileManager::volumeMountPointForPath("/home/anna"), "/home");
    EXPECT_EQ(QVFileManager::volumeMountPointForPath("/homes"), "/");
    EXPECT_EQ(QVFileManager::volumeMountPointForPath("/"), "/");
    EXPECT_EQ(QVFileManager::volumeMountPointForPath("/Volumes/AB"), std::nullopt);
    EXPECT_EQ(QVFileManager::volumeMountPointForPath("/VolumesX"), std::nullopt);
    EXPECT_EQ(QVFileManager::volumeMountPointForPath(std::nullopt), std::nullopt);
}

TEST_F(Queries, DatesAreTheItemsOwn) {
    system.disk->addFile("/file");
    system.disk->addLink("/link", "/file");
    system.disk->setModificationDate("/file", at(7));
    system.disk->setCreationDate("/file", at(5));
    system.disk->setModificationDate("/link", at(3));
    EXPECT_EQ(QVFileManager::modificationDateForFile("/file"), at(7));
    EXPECT_EQ(QVFileManager::creationDateForFile("/file"), at(5));
    EXPECT_EQ(QVFileManager::modificationDateForFile("/link"), at(3));
    EXPECT_EQ(QVFileManager::modificationDateForFile("/missing"), std::nullopt);
    EXPECT_EQ(QVFileManager::creationDateForFile("/missing"), std::nullopt);
    EXPECT_EQ(QVFileManager::creationDateForFile(std::nullopt), std::nullopt);
}

TEST_F(Queries, SizesAddUpFiles) {
    system.disk->addFile("/d/a", "1234");
    system.disk->addFile("/d/sub/.hidden", "12");
    system.disk->addFile("/d/Tool.app/b", "1");
    system.disk->addFolder("/empty/sub");
    system.disk->addLink("/link", "/d/a");
    EXPECT_EQ(QVFileManager::fileSize("/d/a"), 4U);
    EXPECT_EQ(QVFileManager::fileSize("/d"), 7U);
    EXPECT_EQ(QVFileManager::fileSize("/empty"), 0U);
    EXPECT_EQ(QVFileManager::fileSize("/missing"), 0U);
    EXPECT_EQ(QVFileManager::fileSize(std::nullopt), 0U);
    EXPECT_EQ(QVFileManager::fileSize("/link"), 4U); // the characters of "/d/a"
}

TEST_F(Queries, SizesFollowLinksToFolders) {
    system.disk->addFile("/other/a", "12345");
    system.disk->addLink("/d/one", "/other");
    system.disk->addLink("/d/two", "/other");
    system.disk->addLink("/d/dangling", "/n");
    system.disk->addLink("/top", "/d");
    EXPECT_EQ(QVFileManager::fileSize("/d"), 12U);
    EXPECT_EQ(QVFileManager::fileSize("/top"), 12U);
}

TEST_F(Queries, LinksBackUpAddNothing) {
    system.disk->addFile("/d/sub/a", "123");
    system.disk->addLink("/d/sub/up", "/d");
    system.disk->addLink("/d/self", "/d/self");
    EXPECT_EQ(QVFileManager::fileSize("/d"), 3U + 7U); // "self" leads nowhere
}

TEST_F(Queries, ManyPathsToOneFolderAreAddedWithoutWalkingThem) {
    constexpr int kLevels = 30;
    for (int level = 0; level < kLevels; ++level) {
        const Path folder = "/level" + std::to_string(level);
        const Path next = "/level" + std::to_string(level + 1);
        system.disk->addLink(folder + "/left", next);
        system.disk->addLink(folder + "/right", next);
    }
    system.disk->addFile("/level" + std::to_string(kLevels) + "/a", "1");
    EXPECT_EQ(QVFileManager::fileSize("/level0"), 1UL << 30U);
}

TEST_F(Queries, FoldersThatCannotBeListedAddNothing) {
    system.disk->addFile("/d/a", "12");
    system.disk->addFile("/d/sub/b", "345");
    system.disk->failAlways("contentsOfDirectory", "/d/sub", {13, "Permission denied"});
    EXPECT_EQ(QVFileManager::fileSize("/d"), 2U);
}

class DiskInfo : public Queries {
protected:
    void scriptTool(std::vector<Bytes> output) {
        testing::FakeTool tool;
        tool.output = std::move(output);
        addTool("/usr/sbin/diskutil", std::move(tool));
    }
};

TEST_F(DiskInfo, IsWhatTheDiskToolSays) {
    scriptTool({"<plist>", "</plist>"});
    system.propertyLists->texts["<plist></plist>"] = {
        platform::PropertyList::Dictionary{{"VolumeName", {"Backup"}}}};
    const auto info = QVFileManager::infoForDiskAtMountpoint("/Volumes/My Disk");
    ASSERT_TRUE(info);
    ASSERT_TRUE(info->find("VolumeName"));
    EXPECT_EQ(std::get<std::string>(info->find("VolumeName")->value), "Backup");
    EXPECT_THAT(system.journal->entries("process.launch"),
                ElementsAre("process.launch /usr/sbin/diskutil [info, -plist, /Volumes/My Disk] "
                            "out=pipe err=pipe in=pipe"));
}

TEST_F(DiskInfo, IsNullWithoutAWordWhenTheToolSaysNothing) {
    scriptTool({});
    EXPECT_FALSE(QVFileManager::infoForDiskAtMountpoint("/"));
    EXPECT_FALSE(QVFileManager::infoForDiskAtMountpoint(std::nullopt));
    EXPECT_THAT(system.consoleLog->messages(), IsEmpty());
}

TEST_F(DiskInfo, WhatCannotBeReadGoesToTheConsole) {
    scriptTool({"Could not find disk"});
    EXPECT_FALSE(QVFileManager::infoForDiskAtMountpoint("/"));
    EXPECT_THAT(system.consoleLog->messages(),
                ElementsAre("Error converting diskutil output: Invalid argument"));
}

} // namespace
} // namespace quorvane
