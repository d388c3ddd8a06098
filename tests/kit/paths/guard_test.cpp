#include <gtest/gtest.h>

#include "kit/paths/QVLocalPaths.h"
#include "tests/support/fake_platform.h"

namespace quorvane {
namespace {

using testing::FakePlatform;

bool guarded(const MaybePath& path) { return QVLocalPaths::isPathSystemDirectory(path); }

bool guardedExactly(const MaybePath& path) {
    return QVLocalPaths::isPathSystemDirectory(path, ExactMatch::yes);
}

class Guard : public ::testing::Test {
protected:
    FakePlatform system;
};

TEST_F(Guard, ProtectsTheExactListInBothModes) {
    for (const Path path : {"/",
                            "/Users/anna/Applications",
                            "/Applications",
                            "/Users/anna/Applications/Utilities",
                            "/Applications/Utilities",
                            "/Users/anna/Documents",
                            "/Users/anna/Library",
                            "/Library",
                            "/Users/anna/Library/Preferences",
                            "/Library/Preferences",
                            "/Users/anna/Library/Caches",
                            "/Library/Caches",
                            "/Users/anna/Library/Application Support",
                            "/Library/Application Support",
                            "/Users/anna/Desktop",
                            "/Users/anna",
                            "/System/Library",
                            "/Library/Documentation",
                            "/Users/Shared",
                            "/usr",
                            "/var",
                            "/bin",
                            "/sbin",
                            "/System"}) {
        EXPECT_TRUE(guarded(path)) << path;
        EXPECT_TRUE(guardedExactly(path)) << path;
    }
    EXPECT_TRUE(guarded("/"));
    EXPECT_TRUE(guardedExactly("/"));
}

TEST_F(Guard, ProtectsWhatLiesBelowSystemFoldersOnlyInPrefixMode) {
    for (const Path path : {"/usr/bin/true", "/usr/local", "/var/log", "/bin/sh", "/sbin/init",
                            "/private/var/db/receipts/x.bom", "/System/Volumes"}) {
        EXPECT_TRUE(guarded(path)) << path;
        EXPECT_FALSE(guardedExactly(path)) << path;
    }
    EXPECT_TRUE(guarded("/System/Library"));
}

TEST_F(Guard, LeavesTheRestAlone) {
    for (const Path path :
         {"/a", "", "/usr/local/bin/tool", "/usr/local/x", "/Users", "/private", "/private/var",
          "/etc", "/Volumes", "/Users/anna/Desktop/a.txt", "/Users/Shared/Files",
          "/Users/anna/Documents/report.txt", "/applications", "/Applicationsx"}) {
        EXPECT_FALSE(guarded(path)) << path;
        EXPECT_FALSE(guardedExactly(path)) << path;
    }
    EXPECT_FALSE(guarded(std::nullopt));
}

TEST_F(Guard, CutsTwoCharactersWithATrailingSlash) {
    EXPECT_FALSE(guarded("/Applications/"));
    EXPECT_FALSE(guarded("/System/"));
    EXPECT_FALSE(guarded("/Users/anna/"));
    EXPECT_TRUE(guarded("/usr/bin/"));              // cut to /usr/bi
    EXPECT_TRUE(guardedExactly("/Applicationsx/")); // cut to /Applications
}

TEST_F(Guard, FollowsTheConsoleUserForTheSuperuser) {
    system.identity->becomeSuperuser();
    EXPECT_TRUE(guardedExactly("/Users/anna"));
    EXPECT_TRUE(guardedExactly("/Users/anna/Desktop"));
    EXPECT_FALSE(guardedExactly("/var/root/Desktop"));
    system.identity->console = std::nullopt;
    EXPECT_FALSE(guardedExactly("/Users/anna"));
    EXPECT_FALSE(guarded(std::nullopt)); // null locations are no null path's equals
}

TEST_F(Guard, KnowsBackupVolumes) {
    EXPECT_TRUE(
        QVLocalPaths::isPathOnTimeMachineVolume("/Volumes/Backup/Backups.backupdb/mac/2020"));
    EXPECT_TRUE(QVLocalPaths::isPathOnTimeMachineVolume("/Volumes/Backups.backupdb"));
    EXPECT_FALSE(QVLocalPaths::isPathOnTimeMachineVolume("/Volumes/Backup/backups.backupdb"));
    EXPECT_FALSE(QVLocalPaths::isPathOnTimeMachineVolume("/Volumes/B/Backups.backupdb2/x"));
    EXPECT_FALSE(QVLocalPaths::isPathOnTimeMachineVolume("/Backups.backupdb"));
    EXPECT_FALSE(QVLocalPaths::isPathOnTimeMachineVolume("/volumes/B/Backups.backupdb"));
    EXPECT_FALSE(QVLocalPaths::isPathOnTimeMachineVolume(std::nullopt));
}

} // namespace
} // namespace quorvane
