#include "tests/support/fake_disk.h"

#include <cerrno>

#include <gmock/gmock.h>

#include "tests/support/errors.h"
#include "tests/support/fake_file_manager.h"
#include "tests/support/fake_workspace.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;

class FakeDiskTest : public ::testing::Test {
protected:
    std::shared_ptr<FakeDisk> disk_ = std::make_shared<FakeDisk>();
    std::shared_ptr<Journal> journal_ = std::make_shared<Journal>();
    FakeFileManager files_{disk_, journal_};
    FakeWorkspace workspace_{disk_, journal_};
};

TEST_F(FakeDiskTest, FailsNextUseOnce) {
    disk_->addFile("/a/b");
    disk_->failNext("removeItem", "/a/b", errorFor(EPERM));
    EXPECT_EQ(files_.removeItem("/a/b").error().text, "Operation not permitted");
    EXPECT_TRUE(files_.removeItem("/a/b").ok());
    EXPECT_THAT(disk_->paths(), ElementsAre("/a"));
}

TEST_F(FakeDiskTest, FailsAlwaysUntilStopped) {
    disk_->addFile("/a");
    disk_->failAlways("removeItem", FakeDisk::kAnyPath, errorFor(EROFS));
    EXPECT_EQ(files_.removeItem("/a").error().code, EROFS);
    EXPECT_EQ(files_.removeItem("/a").error().code, EROFS);
    disk_->stopFailing("removeItem", FakeDisk::kAnyPath);
    EXPECT_TRUE(files_.removeItem("/a").ok());
}

TEST_F(FakeDiskTest, RemovalStopsAtTheItemThatFails) {
    disk_->addFile("/a/1");
    disk_->addFile("/a/2");
    disk_->addFile("/a/3");
    disk_->failAlways("removeItem", "/a/2", errorFor(EPERM));
    EXPECT_EQ(files_.removeItem("/a").error().code, EPERM);
    EXPECT_THAT(disk_->paths(), ElementsAre("/a", "/a/2", "/a/3"));
}

TEST_F(FakeDiskTest, ProtectionKeepsItems) {
    disk_->addFile("/locked");
    disk_->setImmutable("/locked", true);
    disk_->addFile("/folder/file");
    disk_->setWritable("/folder", false);
    EXPECT_EQ(files_.removeItem("/locked").error().code, EPERM);
    EXPECT_EQ(files_.moveItem("/locked", "/other").error().code, EPERM);
    EXPECT_EQ(files_.removeItem("/folder/file").error().code, EACCES);
    EXPECT_EQ(files_.createDirectories("/folder/new").error().code, EACCES);
    EXPECT_FALSE(files_.isWritable("/locked"));
    EXPECT_FALSE(files_.isWritable("/folder"));
}

TEST_F(FakeDiskTest, JournalTellsCallsInOrder) {
    disk_->addFile("/a");
    EXPECT_TRUE(files_.existence("/a").exists);
    const platform::FileTime date{std::chrono::milliseconds(1500)};
    EXPECT_TRUE(files_.setAttributes("/a", {false, 0755, date, std::nullopt}).ok());
    EXPECT_TRUE(files_.moveItem("/a", "/b").ok());
    const auto stream = files_.openForAppending("/b");
    EXPECT_EQ(files_.write(stream.value(), "text").value(), 4U);
    EXPECT_EQ(disk_->openStreams(), 1U);
    files_.close(stream.value());
    EXPECT_EQ(disk_->openStreams(), 0U);
    EXPECT_THAT(journal_->entries(),
                ElementsAre("files.setAttributes /a immutable=no permissions=755 creationDate=1.5",
                            "files.move /a -> /b", "files.open /b", "files.write /b 4 bytes",
                            "files.close /b"));
}

TEST_F(FakeDiskTest, JournalTellsQueriesWhenAsked) {
    FakeFileManager curious(disk_, journal_, JournalQueries::yes);
    EXPECT_FALSE(curious.existence("/a").exists);
    EXPECT_FALSE(curious.contentsOfDirectory("/a").ok());
    EXPECT_THAT(journal_->entries(), ElementsAre("files.exists /a", "files.list /a"));
}

TEST_F(FakeDiskTest, RecyclesUnderFreeNames) {
    disk_->addFile("/apps/Tool.app/Contents/Info.plist");
    disk_->addFile("/trash/Tool.app");
    disk_->addLink("/apps/link", "/nowhere");
    EXPECT_TRUE(workspace_.recycle("/apps", "/trash", {"Tool.app", "link"}).ok());
    EXPECT_THAT(disk_->paths(),
                ElementsAre("/apps", "/trash", "/trash/Tool.app", "/trash/Tool.app 2",
                            "/trash/Tool.app 2/Contents", "/trash/Tool.app 2/Contents/Info.plist",
                            "/trash/link"));
    EXPECT_THAT(journal_->entries(),
                ElementsAre("workspace.recycle /apps [Tool.app, link] -> /trash"));
}

TEST_F(FakeDiskTest, RecyclingStopsAtTheItemThatFails) {
    disk_->addFile("/apps/1");
    disk_->addFile("/apps/2");
    disk_->addFile("/apps/3");
    disk_->failAlways("recycle", "/apps/2", errorFor(EPERM));
    EXPECT_EQ(workspace_.recycle("/apps", "/trash", {"1", "2", "3"}).error().code, EPERM);
    EXPECT_THAT(disk_->paths(), ElementsAre("/apps", "/apps/2", "/apps/3", "/trash", "/trash/1"));
}

TEST_F(FakeDiskTest, WorkspaceKnowsBundlesAndPackages) {
    disk_->addFolder("/apps/Tool.app");
    disk_->addFolder("/apps/Pane.PREFPANE");
    disk_->addFile("/apps/file.app");
    workspace_.addBundle("com.example.tool", "/apps/Tool.app");
    EXPECT_EQ(workspace_.bundlePath("com.example.tool"), "/apps/Tool.app");
    EXPECT_EQ(workspace_.bundlePath("com.example.other"), std::nullopt);
    EXPECT_TRUE(workspace_.isFilePackage("/apps/Tool.app"));
    EXPECT_TRUE(workspace_.isFilePackage("/apps/Pane.PREFPANE"));
    EXPECT_FALSE(workspace_.isFilePackage("/apps/file.app"));
    EXPECT_FALSE(workspace_.isFilePackage("/apps"));
    workspace_.noteFileSystemChanged("/apps");
    EXPECT_THAT(journal_->entries(), ElementsAre("workspace.noteFileSystemChanged /apps"));
}

} // namespace
} // namespace quorvane::testing
